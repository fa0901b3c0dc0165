#pragma once

#include <cstddef>
#include <functional>

// Runs that on a thread of its own with a stack of so many bytes, to its end.
void RunOnStack(std::size_t size, std::function<void()> run);
