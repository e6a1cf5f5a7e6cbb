// The entry point of a fuzzer for the target KELVO_FUZZ_TARGET.
#include "fuzz/targets.h"
#include "kelvo/base/log.h"

#include <cstddef>
#include <cstdint>

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    static const qv::fuzz::Target* const target = [] {
        qv::setLogHandler([](qv::LogLevel, const char*, void*) {}, nullptr);
        return qv::fuzz::findTarget(KELVO_FUZZ_TARGET);
    }();
    target->run({reinterpret_cast<const char*>(data), size});
    return 0;
}
