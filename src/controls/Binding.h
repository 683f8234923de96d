#pragma once

#include <functional>

namespace veilora {

// A two-way connection to a piece of state owned elsewhere: read the current
// value, write a new one.
template <typename T>
struct Binding
{
    std::function<T()> get;
    std::function<void(const T &)> set;
};

} // namespace veilora
