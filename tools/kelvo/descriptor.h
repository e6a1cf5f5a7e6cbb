#pragma once

#include <utility>

#include <unistd.h>

namespace qv::kelvo_tool {

/// Owns a file descriptor; leaves those of the standard streams open.
class Descriptor {
public:
    Descriptor() = default;
    explicit Descriptor(int number) noexcept : m_number(number) {}
    ~Descriptor() {
        if (m_number > STDERR_FILENO) ::close(m_number);
    }
    Descriptor(Descriptor&& other) noexcept : m_number(std::exchange(other.m_number, -1)) {}
    Descriptor& operator=(Descriptor&& other) noexcept {
        const Descriptor before(std::exchange(m_number, std::exchange(other.m_number, -1)));
        return *this;
    }
    Descriptor(const Descriptor&) = delete;
    Descriptor& operator=(const Descriptor&) = delete;

    [[nodiscard]] int number() const noexcept { return m_number; }
    [[nodiscard]] bool isOpen() const noexcept { return m_number >= 0; }
    /// Some file systems report a failed write only at closing; false with the reason in `errno`.
    [[nodiscard]] bool close() noexcept { return ::close(std::exchange(m_number, -1)) == 0; }

private:
    int m_number = -1;
};

} // namespace qv::kelvo_tool
