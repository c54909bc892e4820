#pragma once

#include "tavo/tavoexport.h"

#include <QtGlobal>

#include <atomic>
#include <limits>

/// The limits of a request that is being served: a client may cancel it, and its answer may take only so many bytes.
///
/// A request is served without a context or with one that its server owns, which must outlive every scope of it.
/// Whoever does long work for a request asks current() at every step and stops when mayContinue() is false. All
/// functions may be called from any thread; none waits or throws.
class TAVO_API_EXPORT CMRequestContext
{
public:
    /// More bytes than any answer has.
    static constexpr qint64 unlimited = std::numeric_limits<qint64>::max();

    /// The answer may take `bytes` bytes, 0 or more.
    explicit CMRequestContext(qint64 bytes = unlimited) noexcept : m_left(bytes) {}

    /// Asks all that serve the request to stop. Cannot be undone.
    void cancel() noexcept;
    /// True once cancel() was called.
    [[nodiscard]] bool isCancelled() const noexcept;

    /// Takes `bytes` (0 or more) from those that are left. If fewer are left, returns false, and the context is
    /// exhausted for good: every later call returns false, too.
    [[nodiscard]] bool take(qint64 bytes) noexcept;
    /// True once take() has returned false: the answer would be too large.
    [[nodiscard]] bool isExhausted() const noexcept;

    /// True while the request is neither cancelled nor exhausted.
    [[nodiscard]] bool mayContinue() const noexcept { return !isCancelled() && !isExhausted(); }

    /// The context of the request that the calling thread serves; null if it has none.
    [[nodiscard]] static CMRequestContext* current() noexcept;

    /// Makes a context the calling thread's current one for as long as the scope lives.
    ///
    /// Scopes nest: the end of an inner scope restores the outer one's context. A scope ends on the thread that made
    /// it. One context may be current on several threads.
    class TAVO_API_EXPORT Scope
    {
    public:
        /// `context` stays the caller's and must outlive the scope.
        explicit Scope(CMRequestContext& context) noexcept;
        ~Scope();

    private:
        Q_DISABLE_COPY_MOVE(Scope)

        CMRequestContext* m_outer;
    };

private:
    Q_DISABLE_COPY_MOVE(CMRequestContext)

    std::atomic<bool> m_isCancelled{false};
    /// Negative: exhausted.
    std::atomic<qint64> m_left;
};
