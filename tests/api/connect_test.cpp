#include "model/cmconnect.h"

#include "connectobjects.h"

#include <QCoreApplication>
#include <QThread>

#include <gtest/gtest.h>

namespace {

class GuardedConnect : public testing::Test
{
protected:
    Sender m_sender;
    Receiver m_receiver;
};

TEST_F(GuardedConnect, DirectConnectionDeliversAtOnce)
{
    cmConnect(&m_sender, &Sender::sentNumber, &m_receiver, &Receiver::takeNumber, Qt::DirectConnection);
    Q_EMIT m_sender.sentNumber(3);
    EXPECT_EQ(m_receiver.sum, 3);
}

TEST_F(GuardedConnect, QueuedConnectionDeliversFromTheEventLoop)
{
    cmConnect(&m_sender, &Sender::sentPath, &m_receiver, &Receiver::takePath, Qt::QueuedConnection);
    Q_EMIT m_sender.sentPath(CMPath(QStringLiteral("file"), QStringLiteral("a")));
    EXPECT_EQ(m_receiver.base, QString());
    QCoreApplication::processEvents();
    EXPECT_EQ(m_receiver.base, QStringLiteral("a"));
}

TEST_F(GuardedConnect, IsAutomaticByDefault)
{
    cmConnect(&m_sender, &Sender::sentUnregistered, &m_receiver, &Receiver::takeUnregistered);
    Q_EMIT m_sender.sentUnregistered({5});
    EXPECT_EQ(m_receiver.sum, 5);
}

TEST_F(GuardedConnect, DirectConnectionAcceptsAnUnregisteredType)
{
    cmConnect(&m_sender, &Sender::sentUnregistered, &m_receiver, &Receiver::takeUnregistered, Qt::DirectConnection);
    Q_EMIT m_sender.sentUnregistered({4});
    EXPECT_EQ(m_receiver.sum, 4);
}

TEST_F(GuardedConnect, QueuedUnregisteredTypeEndsTheProcess)
{
    EXPECT_DEATH(
        cmConnect(&m_sender, &Sender::sentUnregistered, &m_receiver, &Receiver::takeUnregistered, Qt::QueuedConnection),
        "verifyConnectionSignalParameters\\(sender, signal, receiver, type\\)");
}

TEST_F(GuardedConnect, UnregisteredTypeBetweenThreadsEndsTheProcess)
{
    QThread thread;
    m_receiver.moveToThread(&thread);
    EXPECT_DEATH(
        cmConnect(&m_sender, &Sender::sentUnregistered, &m_receiver, &Receiver::takeUnregistered, Qt::AutoConnection),
        "verifyConnectionSignalParameters\\(sender, signal, receiver, type\\)");
}

TEST_F(GuardedConnect, ConnectionThatCannotBeMadeEndsTheProcess)
{
    const Receiver* nobody = nullptr;
    EXPECT_DEATH(
        cmConnect(&m_sender, &Sender::sentNumber, nobody, &Receiver::takeNumber, Qt::DirectConnection),
        "\"connection\"");
}

TEST_F(GuardedConnect, SecondUniqueConnectionEndsTheProcess)
{
    const auto once = static_cast<Qt::ConnectionType>(Qt::DirectConnection | Qt::UniqueConnection);
    cmConnect(&m_sender, &Sender::sentNumber, &m_receiver, &Receiver::takeNumber, once);
    EXPECT_DEATH(cmConnect(&m_sender, &Sender::sentNumber, &m_receiver, &Receiver::takeNumber, once), "\"connection\"");
}

class Verify : public GuardedConnect
{
protected:
    template<typename Signal>
    [[nodiscard]] bool verify(Signal signal, Qt::ConnectionType type) const
    {
        return verifyConnectionSignalParameters(&m_sender, QMetaMethod::fromSignal(signal), &m_receiver, type);
    }
};

TEST_F(Verify, ChecksOnlyQueuedArguments)
{
    EXPECT_TRUE(verify(&Sender::sentUnregistered, Qt::DirectConnection));
    EXPECT_TRUE(verify(&Sender::sentUnregistered, Qt::AutoConnection));
    EXPECT_FALSE(verify(&Sender::sentUnregistered, Qt::QueuedConnection));
    const auto queuedOnce = static_cast<Qt::ConnectionType>(Qt::QueuedConnection | Qt::UniqueConnection);
    EXPECT_FALSE(verify(&Sender::sentUnregistered, queuedOnce));
}

TEST_F(Verify, ChecksEveryArgument)
{
    EXPECT_FALSE(verify(&Sender::sentBoth, Qt::QueuedConnection));
    EXPECT_TRUE(verify(&Sender::sentNumber, Qt::QueuedConnection));
    EXPECT_TRUE(verify(&Sender::sentPath, Qt::QueuedConnection));
}

TEST_F(Verify, AcceptsPointers)
{
    EXPECT_TRUE(verify(&Sender::sentPointer, Qt::QueuedConnection));
}

TEST_F(Verify, TreatsAutomaticConnectionsBetweenThreadsAsQueued)
{
    QThread thread;
    m_receiver.moveToThread(&thread);
    EXPECT_FALSE(verify(&Sender::sentUnregistered, Qt::AutoConnection));
    EXPECT_TRUE(verify(&Sender::sentNumber, Qt::AutoConnection));
    EXPECT_TRUE(verify(&Sender::sentUnregistered, Qt::DirectConnection));
}

} // namespace
