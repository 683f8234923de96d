// veilora-release-tool keygen SECRETFILE   writes the secret key (mode 0600), prints the public key
// veilora-release-tool sign FILE --key SECRETFILE   prints the signature of FILE
// veilora-release-tool public --key SECRETFILE   prints the public key of a secret key file
// Keys and signatures are base64, as the appcast and the build's "SUPublicEDKey" carry them.
#include <QByteArray>
#include <QCoreApplication>
#include <QFile>
#include <QStringList>

#include <cstdio>
#include <sodium.h>
#include <sys/stat.h>

namespace {

int usage()
{
    std::fputs("usage: veilora-release-tool keygen SECRETFILE\n"
               "       veilora-release-tool sign FILE --key SECRETFILE\n"
               "       veilora-release-tool public --key SECRETFILE\n",
               stderr);
    return 2;
}

int fail(const QString &message)
{
    std::fprintf(stderr, "veilora-release-tool: %s\n", qPrintable(message));
    return 1;
}

void print(const QByteArray &bytes)
{
    std::printf("%s\n", bytes.toBase64().constData());
}

// The secret key file holds the 64-byte libsodium secret key in base64; its
// second half is the public key.
bool readSecretKey(const QString &path, QByteArray *key, QString *error)
{
    QFile file(path);
    if (!file.open(QIODevice::ReadOnly)) {
        *error = QStringLiteral("cannot read %1: %2").arg(path, file.errorString());
        return false;
    }
    const auto decoded =
        QByteArray::fromBase64Encoding(file.readAll().trimmed(), QByteArray::AbortOnBase64DecodingErrors);
    if (!decoded || decoded.decoded.size() != crypto_sign_SECRETKEYBYTES) {
        *error = QStringLiteral("%1 is not a secret key file").arg(path);
        return false;
    }
    *key = decoded.decoded;
    return true;
}

int keygen(const QString &path)
{
    if (QFile::exists(path))
        return fail(QStringLiteral("%1 exists; refusing to overwrite a signing key").arg(path));
    QByteArray publicKey(crypto_sign_PUBLICKEYBYTES, '\0');
    QByteArray secretKey(crypto_sign_SECRETKEYBYTES, '\0');
    crypto_sign_keypair(reinterpret_cast<unsigned char *>(publicKey.data()),
                        reinterpret_cast<unsigned char *>(secretKey.data()));
    // Created private, so the key is never readable by others, not even briefly.
    const mode_t previous = umask(077);
    QFile file(path);
    const bool opened = file.open(QIODevice::WriteOnly | QIODevice::NewOnly);
    umask(previous);
    if (!opened || file.write(secretKey.toBase64() + '\n') < 0 || !file.flush())
        return fail(QStringLiteral("cannot write %1: %2").arg(path, file.errorString()));
    file.setPermissions(QFileDevice::ReadOwner | QFileDevice::WriteOwner);
    sodium_memzero(secretKey.data(), size_t(secretKey.size()));
    print(publicKey);
    return 0;
}

int sign(const QString &path, const QString &keyPath)
{
    QByteArray secretKey;
    QString error;
    if (!readSecretKey(keyPath, &secretKey, &error))
        return fail(error);
    QFile file(path);
    if (!file.open(QIODevice::ReadOnly))
        return fail(QStringLiteral("cannot read %1: %2").arg(path, file.errorString()));
    const QByteArray message = file.readAll();
    QByteArray signature(crypto_sign_BYTES, '\0');
    crypto_sign_detached(reinterpret_cast<unsigned char *>(signature.data()), nullptr,
                         reinterpret_cast<const unsigned char *>(message.constData()),
                         static_cast<unsigned long long>(message.size()),
                         reinterpret_cast<const unsigned char *>(secretKey.constData()));
    sodium_memzero(secretKey.data(), size_t(secretKey.size()));
    print(signature);
    return 0;
}

int publicKey(const QString &keyPath)
{
    QByteArray secretKey;
    QString error;
    if (!readSecretKey(keyPath, &secretKey, &error))
        return fail(error);
    QByteArray key(crypto_sign_PUBLICKEYBYTES, '\0');
    crypto_sign_ed25519_sk_to_pk(reinterpret_cast<unsigned char *>(key.data()),
                                 reinterpret_cast<const unsigned char *>(secretKey.constData()));
    sodium_memzero(secretKey.data(), size_t(secretKey.size()));
    print(key);
    return 0;
}

} // namespace

int main(int argc, char **argv)
{
    QCoreApplication app(argc, argv);
    if (sodium_init() < 0)
        return fail(QStringLiteral("libsodium cannot start"));
    const QStringList args = QCoreApplication::arguments().mid(1);
    const QString command = args.value(0);
    if (command == QLatin1String("keygen") && args.size() == 2)
        return keygen(args[1]);
    if (command == QLatin1String("sign") && args.size() == 4 && args[2] == QLatin1String("--key"))
        return sign(args[1], args[3]);
    if (command == QLatin1String("public") && args.size() == 3 && args[1] == QLatin1String("--key"))
        return publicKey(args[2]);
    return usage();
}
