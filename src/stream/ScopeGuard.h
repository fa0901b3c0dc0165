#pragma once

#include <functional>
#include <utility>

// Calls a function at the end of its scope, on whatever path it is left. The function must not throw.
class CScopeGuard {
public:
    // An empty function is not called.
    explicit CScopeGuard(std::function<void()> function) : atExit(std::move(function)) {}
    // Calls it.
    ~CScopeGuard() {
        if (atExit) atExit();
    }

    CScopeGuard(const CScopeGuard&) = delete;
    CScopeGuard& operator=(const CScopeGuard&) = delete;

private:
    std::function<void()> atExit;
};
