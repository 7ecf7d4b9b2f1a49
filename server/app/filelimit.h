#pragma once

#include <cstddef>

// The process's limit of open files, which bounds connections and change streams.
namespace FileLimit {

// Raises the soft limit to at least `wanted` (up to the hard limit) and says on standard output
// when it cannot reach it. Returns the limit in force.
std::size_t raise(std::size_t wanted);

} // namespace FileLimit
