#pragma once

#include <QByteArray>
#include <QString>

#include <atomic>
#include <thread>

#include <cstdio>
#include <fcntl.h>

/// Exchanges two names, in a thread of its own, until it is destroyed.
class Swapper
{
public:
    Swapper(const QString& a, const QString& b)
        : m_thread([this, a = a.toUtf8(), b = b.toUtf8()] {
              while (!m_isEnding) {
                  renameat2(AT_FDCWD, a.constData(), AT_FDCWD, b.constData(), RENAME_EXCHANGE);
                  ++m_swaps;
              }
          })
    {
    }

    ~Swapper()
    {
        m_isEnding = true;
        m_thread.join();
    }

    Q_DISABLE_COPY_MOVE(Swapper)

    [[nodiscard]] int swaps() const { return m_swaps; }

private:
    std::atomic<bool> m_isEnding{false};
    std::atomic<int> m_swaps{0};
    std::thread m_thread;
};
