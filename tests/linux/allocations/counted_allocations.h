/// How often the program takes memory from the heap, by whatever function of the C library or of C++.
#pragma once

#include <functional>
#include <string>
#include <vector>

/// The allocations in `work` on the threads with these names (as the kernel has them, cut to 15 characters).
int AllocationsOn(const std::vector<std::string>& threads, const std::function<void()>& work);
