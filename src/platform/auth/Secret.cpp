#include "Secret.h"

#include <cstdlib>
#include <cstring>
#include <new>
#include <sys/mman.h>
#include <unistd.h>
#include <utility>

namespace veilora {

namespace {

std::size_t pageSize()
{
    static const std::size_t size = static_cast<std::size_t>(sysconf(_SC_PAGESIZE));
    return size;
}

char *allocatePage()
{
    void *page = mmap(nullptr, pageSize(), PROT_READ | PROT_WRITE, MAP_PRIVATE | MAP_ANONYMOUS, -1, 0);
    if (page == MAP_FAILED)
        throw std::bad_alloc();
    // Both are best effort: without the privilege or the limit the secret still
    // works, it may just reach swap or a core file.
    mlock(page, pageSize());
    madvise(page, pageSize(), MADV_DONTDUMP);
    return static_cast<char *>(page);
}

void releasePage(char *page)
{
    if (!page)
        return;
    wipeMemory(page, pageSize());
    munlock(page, pageSize());
    munmap(page, pageSize());
}

bool isContinuation(char byte)
{
    return (static_cast<unsigned char>(byte) & 0xC0) == 0x80;
}

} // namespace

void wipeMemory(void *data, std::size_t size)
{
    if (data && size)
        explicit_bzero(data, size);
}

Secret::Secret()
    : m_bytes(allocatePage())
{
    static_assert(capacity <= 4096, "one page holds the whole secret");
}

Secret::~Secret()
{
    releasePage(m_bytes);
}

Secret::Secret(Secret &&other) noexcept
    : m_bytes(std::exchange(other.m_bytes, nullptr))
    , m_size(std::exchange(other.m_size, 0))
{}

Secret &Secret::operator=(Secret &&other) noexcept
{
    if (this != &other) {
        releasePage(m_bytes);
        m_bytes = std::exchange(other.m_bytes, nullptr);
        m_size = std::exchange(other.m_size, 0);
    }
    return *this;
}

bool Secret::append(QStringView text)
{
    if (!m_bytes)
        m_bytes = allocatePage();
    // Encoded by hand, straight into the page: QString::toUtf8() would leave a
    // copy in a heap buffer of its own.
    char encoded[4];
    std::size_t size = m_size;
    for (qsizetype i = 0; i < text.size(); ++i) {
        char32_t code = text[i].unicode();
        if (QChar::isHighSurrogate(code) && i + 1 < text.size() && text[i + 1].isLowSurrogate())
            code = QChar::surrogateToUcs4(static_cast<char16_t>(code), text[++i].unicode());
        else if (QChar::isSurrogate(code))
            code = 0xFFFD;
        std::size_t length = 0;
        if (code < 0x80) {
            encoded[length++] = static_cast<char>(code);
        } else if (code < 0x800) {
            encoded[length++] = static_cast<char>(0xC0 | (code >> 6));
            encoded[length++] = static_cast<char>(0x80 | (code & 0x3F));
        } else if (code < 0x10000) {
            encoded[length++] = static_cast<char>(0xE0 | (code >> 12));
            encoded[length++] = static_cast<char>(0x80 | ((code >> 6) & 0x3F));
            encoded[length++] = static_cast<char>(0x80 | (code & 0x3F));
        } else {
            encoded[length++] = static_cast<char>(0xF0 | (code >> 18));
            encoded[length++] = static_cast<char>(0x80 | ((code >> 12) & 0x3F));
            encoded[length++] = static_cast<char>(0x80 | ((code >> 6) & 0x3F));
            encoded[length++] = static_cast<char>(0x80 | (code & 0x3F));
        }
        if (code == 0 || size + length >= capacity) {
            wipeMemory(m_bytes + m_size, size - m_size);
            wipeMemory(encoded, sizeof encoded);
            return false;
        }
        std::memcpy(m_bytes + size, encoded, length);
        size += length;
    }
    wipeMemory(encoded, sizeof encoded);
    m_size = size;
    m_bytes[m_size] = '\0';
    return true;
}

void Secret::removeLastCharacter()
{
    if (!m_bytes)
        return;
    std::size_t size = m_size;
    while (size > 0 && isContinuation(m_bytes[size - 1]))
        --size;
    if (size > 0)
        --size;
    wipeMemory(m_bytes + size, m_size - size);
    m_size = size;
}

void Secret::clear()
{
    if (m_bytes)
        wipeMemory(m_bytes, m_size);
    m_size = 0;
}

int Secret::characterCount() const
{
    int count = 0;
    for (std::size_t i = 0; i < m_size; ++i)
        count += isContinuation(m_bytes[i]) ? 0 : 1;
    return count;
}

bool Secret::equals(const char *other, std::size_t size) const
{
    if (!other || size != m_size)
        return false;
    // Constant time for equal lengths: the comparison does not tell how much matched.
    unsigned char difference = 0;
    for (std::size_t i = 0; i < size; ++i)
        difference |= static_cast<unsigned char>(m_bytes[i] ^ other[i]);
    return difference == 0;
}

char *Secret::releaseCopy() const
{
    auto *copy = static_cast<char *>(std::malloc(m_size + 1));
    if (!copy)
        return nullptr;
    if (m_size)
        std::memcpy(copy, m_bytes, m_size);
    copy[m_size] = '\0';
    return copy;
}

} // namespace veilora
