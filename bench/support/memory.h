#pragma once

#include <malloc.h>

#include <cstddef>
#include <fstream>
#include <string>

namespace qv::bench {

/// Returns the bytes that the heap has handed out, including its own overhead.
inline std::size_t heapInUse() {
    const struct mallinfo2 info = mallinfo2();
    return info.uordblks + info.hblkhd;
}

/// Returns a line of a file in /proc that begins with `name`, in bytes; 0 where it has none.
inline std::size_t procBytes(const char* file, const std::string& name) {
    std::ifstream in(file);
    std::size_t kibibytes = 0;
    for (std::string word; in >> word;)
        if (word == name && in >> kibibytes) return kibibytes * 1024;
    return 0;
}

/// Returns the memory that new processes may still take.
inline std::size_t availableMemory() {
    return procBytes("/proc/meminfo", "MemAvailable:");
}

/// Measures the greatest memory of this process from its construction on.
class PeakMemory {
public:
    PeakMemory() {
        malloc_trim(0);
        std::ofstream("/proc/self/clear_refs") << "5"; // Sets the greatest to the present.
        m_before = peak();
    }
    [[nodiscard]] static std::size_t peak() { return procBytes("/proc/self/status", "VmHWM:"); }
    [[nodiscard]] std::size_t growth() const { return peak() - m_before; }

private:
    std::size_t m_before = 0;
};

} // namespace qv::bench
