#pragma once

#include <QStringView>

#include <cstddef>

namespace veilora {

// A secret the user types (a password), held as NUL-terminated UTF-8 in one page
// of its own that never moves or grows, is kept out of swap and core dumps where
// the system allows, and is wiped whenever bytes leave it: on removal, clear,
// move and destruction. Move-only. It never becomes a QString, so no copy of it
// lingers in Qt's implicitly shared buffers.
class Secret
{
public:
    // The most a PAM conversation may answer (PAM_MAX_RESP_SIZE), terminator included.
    static constexpr std::size_t capacity = 512;

    Secret();
    ~Secret();
    Secret(Secret &&other) noexcept;
    Secret &operator=(Secret &&other) noexcept;
    Secret(const Secret &) = delete;
    Secret &operator=(const Secret &) = delete;

    // Appends `text`; false, and nothing appended, when it would not fit.
    bool append(QStringView text);
    void removeLastCharacter();
    void clear();

    bool isEmpty() const { return m_size == 0; }
    std::size_t byteCount() const { return m_size; }
    int characterCount() const;
    bool equals(const char *other, std::size_t size) const;
    // The bytes in place (NUL-terminated); read them, never keep a copy.
    const char *data() const { return m_bytes ? m_bytes : ""; }

    // A malloc'd NUL-terminated copy for interfaces that take ownership and free()
    // it themselves (a PAM response); null when out of memory.
    char *releaseCopy() const;

private:
    char *m_bytes = nullptr; // one page, or null after a move
    std::size_t m_size = 0;
};

// Overwrites `size` bytes at `data` in a way the compiler cannot drop.
void wipeMemory(void *data, std::size_t size);

} // namespace veilora
