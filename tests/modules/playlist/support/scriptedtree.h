#pragma once

#include "model/cmworker.h"

#include <QHash>
#include <QMap>

#include <atomic>
#include <functional>

/// A worker of containers and items that exist only here. Fill it before it is mounted.
class ScriptedTree : public CMWorker
{
public:
    explicit ScriptedTree(const QString& prefix);
    ~ScriptedTree() override;

    /// `container` is a base; the rows keep the order in which they are added.
    void addContainer(const QString& container, const QString& name);
    void addItem(const QString& container, const QString& name, const char* type = "audio");
    /// The rows of the container are the container itself, and `items` items.
    void addLoop(const QString& container, int items);

    void getRowsRequest(const CMGetRowsRequest& request) override;
    void getDataRequest(const CMGetDataRequest& request) override;
    /// Prepares items: their titles get "Tagged " in front.
    void setDataRequest(const CMSetDataRequest& request) override;

    /// Called, in the thread of the request, before it is served. Set while there are no requests.
    std::function<void(const CMRequest& request)> served;
    std::atomic<int> preparations{0};

private:
    struct Row
    {
        QString base;
        QString type;
    };

    [[nodiscard]] QVariantList values(const Row& row, const QStringList& roles) const;

    QMap<QString, QList<Row>> m_containers;
    QHash<QString, Row> m_rows;
};
