#include "fileworkertest.h"

#include <QMetaMethod>

#include <array>
#include <cstring>

namespace {

const QMetaObject& meta()
{
    return CMFileWorker::staticMetaObject;
}

QMetaMethod ownMethod(int index)
{
    return meta().method(meta().methodOffset() + index);
}

/// The meta-type that registering the argument of a method gives.
int registeredType(CMFileWorker& worker, int method, int argument)
{
    int type = 0;
    std::array<void*, 2> arguments = {&type, &argument};
    static_cast<void>(worker.qt_metacall(
        QMetaObject::RegisterMethodArgumentMetaType, meta().methodOffset() + method, arguments.data()));
    return type;
}

class MetaObject : public testing::Test
{
protected:
    const std::unique_ptr<CMFileWorker> worker = makeFileWorker({});
};

TEST_F(MetaObject, NamesTheClassAndItsBase)
{
    EXPECT_EQ(worker->metaObject(), &meta());
    EXPECT_STREQ(meta().className(), "CMFileWorker");
    EXPECT_STREQ(meta().superClass()->className(), "CMWorker");
    EXPECT_STREQ(meta().superClass()->superClass()->className(), "CMAbstractWorker");
    EXPECT_STREQ(meta().superClass()->superClass()->superClass()->className(), "QObject");
}

TEST_F(MetaObject, HasOneSignalAndThreePrivateSlots)
{
    ASSERT_EQ(meta().methodCount() - meta().methodOffset(), 4);
    EXPECT_EQ(ownMethod(0).methodSignature(), "fakeDirectoryChanged(QString)");
    EXPECT_EQ(ownMethod(0).methodType(), QMetaMethod::Signal);
    EXPECT_EQ(ownMethod(1).methodSignature(), "on_watcherChanged(QString)");
    EXPECT_EQ(ownMethod(2).methodSignature(), "subscribePathAdded(CMPath)");
    EXPECT_EQ(ownMethod(3).methodSignature(), "subscribePathRemoved(CMPath)");
    for (int index = 1; index < 4; ++index) {
        EXPECT_EQ(ownMethod(index).methodType(), QMetaMethod::Slot);
        EXPECT_EQ(ownMethod(index).access(), QMetaMethod::Private);
    }
}

TEST_F(MetaObject, NamesTheParameters)
{
    EXPECT_EQ(ownMethod(0).parameterNames(), QList<QByteArray>{"path"});
    EXPECT_EQ(ownMethod(1).parameterNames(), QList<QByteArray>{"path"});
    EXPECT_EQ(ownMethod(2).parameterNames(), QList<QByteArray>{"pathWithPrefix"});
    EXPECT_EQ(ownMethod(3).parameterNames(), QList<QByteArray>{"pathWithPrefix"});
}

TEST_F(MetaObject, HasNeitherPropertiesNorEnumerators)
{
    EXPECT_EQ(meta().propertyCount(), meta().propertyOffset());
    EXPECT_EQ(meta().enumeratorCount(), meta().enumeratorOffset());
}

TEST_F(MetaObject, CastAnswersForTheClassAndLeavesTheRestToTheBase)
{
    EXPECT_EQ(worker->qt_metacast("CMFileWorker"), worker.get());
    EXPECT_EQ(worker->qt_metacast("CMWorker"), static_cast<CMWorker*>(worker.get()));
    EXPECT_EQ(worker->qt_metacast("QObject"), static_cast<QObject*>(worker.get()));
    EXPECT_EQ(worker->qt_metacast("CMFile"), nullptr);
    EXPECT_EQ(worker->qt_metacast(nullptr), nullptr);
}

TEST_F(MetaObject, RegistersThePathsOfTheSubscriptionSlotsOnly)
{
    const int path = qMetaTypeId<CMPath>();
    EXPECT_EQ(QMetaType::type("CMPath"), path);
    EXPECT_EQ(registeredType(*worker, 2, 0), path);
    EXPECT_EQ(registeredType(*worker, 3, 0), path);
    EXPECT_EQ(registeredType(*worker, 0, 0), -1);
    EXPECT_EQ(registeredType(*worker, 1, 0), -1);
    EXPECT_EQ(registeredType(*worker, 2, 1), -1);
    EXPECT_EQ(registeredType(*worker, 3, 1), -1);
}

TEST_F(MetaObject, CallsOfItsMethodsComeBackLessItsFour)
{
    const int beyond = meta().methodOffset() + 4;
    std::array<void*, 2> arguments = {};
    EXPECT_EQ(worker->qt_metacall(QMetaObject::InvokeMetaMethod, beyond, arguments.data()), 0);
    EXPECT_EQ(worker->qt_metacall(QMetaObject::InvokeMetaMethod, beyond + 3, arguments.data()), 3);
    int type = 0;
    int argument = 0;
    arguments = {&type, &argument};
    EXPECT_EQ(worker->qt_metacall(QMetaObject::RegisterMethodArgumentMetaType, beyond, arguments.data()), 0);
    for (int method = 0; method < 4; ++method) {
        EXPECT_EQ(
            worker->qt_metacall(
                QMetaObject::RegisterMethodArgumentMetaType, meta().methodOffset() + method, arguments.data()),
            method - 4);
    }
}

TEST_F(MetaObject, CallsOfTheBasesMethodsStayThere)
{
    const int nameChanged = QObject::staticMetaObject.indexOfMethod("objectNameChanged(QString)");
    QString reported;
    QObject::connect(worker.get(), &QObject::objectNameChanged, [&reported](const QString& name) { reported = name; });
    QString name = "new";
    std::array<void*, 2> arguments = {nullptr, &name};
    EXPECT_LT(worker->qt_metacall(QMetaObject::InvokeMetaMethod, nameChanged, arguments.data()), 0);
    EXPECT_EQ(reported, "new");
}

TEST_F(MetaObject, OtherCallsComeBackAsTheBaseLeavesThem)
{
    const int beyond = meta().propertyCount() + 9;
    std::array<void*, 1> arguments = {};
    for (const auto call : {QMetaObject::ReadProperty, QMetaObject::QueryPropertyStored}) {
        EXPECT_EQ(
            worker->qt_metacall(call, beyond, arguments.data()),
            worker->CMWorker::qt_metacall(call, beyond, arguments.data()));
    }
}

TEST_F(MetaObject, MethodsAreInvokedByIndex)
{
    LogCapture log;
    QString path = "/";
    std::array<void*, 2> arguments = {nullptr, &path};
    EXPECT_EQ(worker->qt_metacall(QMetaObject::InvokeMetaMethod, meta().methodOffset() + 1, arguments.data()), -3);
    EXPECT_EQ(log.count("Changed /"), 1);
    EXPECT_EQ(worker->qt_metacall(QMetaObject::InvokeMetaMethod, meta().methodOffset(), arguments.data()), -4);
    EXPECT_EQ(log.count("Changed /"), 1);
    QCoreApplication::sendPostedEvents();
    EXPECT_EQ(log.count("Changed /"), 2);
}

/// The slot of the virtual table that a pointer to a virtual member function names.
template<typename Function>
size_t slotOf(Function function)
{
    std::array<size_t, 2> representation{};
    static_assert(sizeof function == sizeof representation);
    std::memcpy(representation.data(), &function, sizeof function);
#if defined(__aarch64__)
    return representation[0] / sizeof(void*);
#else
    return (representation[0] - 1) / sizeof(void*);
#endif
}

void* const* virtualTable(const QObject& object)
{
    void* const* table = nullptr;
    std::memcpy(&table, static_cast<const void*>(&object), sizeof table);
    return table;
}

class Probe : public CMFileWorker
{
public:
    using CMFileWorker::CMFileWorker;

    virtual void firstOfItsOwn() {}

    /// Of all virtual operations but the destructors, in the order in which the slots are expected.
    [[nodiscard]] static std::vector<size_t> slots_()
    {
        return {
            slotOf(&Probe::metaObject),
            slotOf(&Probe::qt_metacast),
            slotOf(&Probe::qt_metacall),
            slotOf(&Probe::event),
            slotOf(&Probe::eventFilter),
            slotOf(&Probe::timerEvent),
            slotOf(&Probe::childEvent),
            slotOf(&Probe::customEvent),
            slotOf(&Probe::connectNotify),
            slotOf(&Probe::disconnectNotify),
            slotOf(&Probe::request),
            slotOf(&Probe::ping),
            slotOf(&Probe::trace),
            slotOf(&Probe::getDataRequest),
            slotOf(&Probe::getRowsRequest),
            slotOf(&Probe::matchRowRequest),
            slotOf(&Probe::setDataRequest),
            slotOf(&Probe::connectChange),
            slotOf(&Probe::disconnectChange),
            slotOf(&Probe::getDataImpl),
            slotOf(&Probe::firstOfItsOwn)};
    }
};

constexpr size_t slotCount = 22;

TEST(VirtualTable, OperationsStandInTheirOrder)
{
    std::vector<size_t> expected = {0, 1, 2};
    for (size_t slot = 5; slot <= slotCount; ++slot)
        expected.push_back(slot);
    EXPECT_EQ(Probe::slots_(), expected);
}

TEST(VirtualTable, OnlyTheWorkersOwnOperationsAreOverridden)
{
    const std::unique_ptr<CMFileWorker> worker = makeFileWorker({});
    const CMWorker plain({}, "plain");
    std::vector<size_t> overridden;
    for (size_t slot = 0; slot < slotCount; ++slot) {
        if (virtualTable(*worker)[slot] != virtualTable(plain)[slot])
            overridden.push_back(slot);
    }
    const size_t metaObject = 0;
    const size_t metaCast = 1;
    const size_t metaCall = 2;
    const size_t completeDestructor = 3;
    const size_t deletingDestructor = 4;
    EXPECT_THAT(
        overridden, testing::ElementsAre(
                        metaObject, metaCast, metaCall, completeDestructor, deletingDestructor,
                        slotOf(&CMFileWorker::getDataRequest), slotOf(&CMFileWorker::getRowsRequest),
                        slotOf(&CMFileWorker::setDataRequest), slotOf(&CMFileWorker::getDataImpl)));
}

} // namespace
