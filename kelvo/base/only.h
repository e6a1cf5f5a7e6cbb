#pragma once

namespace qv {

/// A key that nobody but the named classes can make. A public function with such a parameter can be
/// called by these classes alone; they pass `{}`.
///
/// Gives access to one function, where a friend would have access to all private members.
template<typename A, typename B = A, typename C = A, typename D = A>
class Only {
    friend A;
    friend B;
    friend C;
    friend D;
    constexpr Only() noexcept = default;
};

} // namespace qv
