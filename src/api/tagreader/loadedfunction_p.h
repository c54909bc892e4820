#pragma once

#include <atomic>

/// A function of a library that lies beside this one, takes long to load, and is needed by few programs. The first call
/// of get() loads it, for good. Thread-safe.
class LoadedFunction
{
public:
    /// The texts must stay. `purpose`: what is not done without it, for the warning.
    constexpr LoadedFunction(const char* library, const char* function, const char* purpose)
        : m_library(library), m_function(function), m_purpose(purpose)
    {
    }

    /// Null if it cannot be loaded, which is tried again the next time: there may be too few descriptors just now. The
    /// first failure is warned of.
    template<typename Function>
    [[nodiscard]] Function* get()
    {
        return reinterpret_cast<Function*>(address());
    }

private:
    [[nodiscard]] void* address();

    const char* const m_library;
    const char* const m_function;
    const char* const m_purpose;
    std::atomic<void*> m_address{nullptr};
    std::atomic<bool> m_hasWarned{false};
};
