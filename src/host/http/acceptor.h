#pragma once

#include "http/access.h"
#include "http/listeningsocket.h"

#include <functional>
#include <memory>

class IoThread;

/// Accepts the connections of one listening socket, in the I/O thread.
class Acceptor
{
public:
    using Accept = std::function<void(FileDescriptor socket, const Connection& ends)>;

    /// `accept` is called in the I/O thread for each connection. The thread must outlive the acceptor.
    Acceptor(IoThread& io, ListeningSocket socket, Accept accept);
    /// In the I/O thread, or when that has stopped.
    ~Acceptor();
    Q_DISABLE_COPY_MOVE(Acceptor)

private:
    class State;
    std::shared_ptr<State> m_state;
};
