#pragma once

#include <QtGlobal>

#include <chrono>
#include <functional>
#include <future>
#include <optional>
#include <system_error>
#include <thread>
#include <utility>

/// Calls functions that may hang in the kernel, for example on a dead mount, each in a thread of its own. For one
/// thread at a time.
template<typename Value>
class PatientCall
{
public:
    /// The functions own all that they use.
    using Function = std::function<Value()>;

    PatientCall() = default;
    Q_DISABLE_COPY_MOVE(PatientCall)
    /// Abandons a function that hangs.
    ~PatientCall() = default;

    /// Returns or throws what the function does. None if it has not ended after `patience`, if an earlier one still
    /// hangs, or if the system has no thread left.
    [[nodiscard]] std::optional<Value> call(Function function, std::chrono::milliseconds patience)
    {
        if (isHanging())
            return std::nullopt;
        std::packaged_task<Value()> task(std::move(function));
        m_result = task.get_future();
        try {
            std::thread(std::move(task)).detach();
        } catch (const std::system_error&) {
            m_result = {};
            return std::nullopt;
        }
        if (m_result.wait_for(patience) != std::future_status::ready)
            return std::nullopt;
        return m_result.get();
    }

private:
    [[nodiscard]] bool isHanging() const
    {
        return m_result.valid() && m_result.wait_for(std::chrono::seconds(0)) != std::future_status::ready;
    }

    std::future<Value> m_result;
};
