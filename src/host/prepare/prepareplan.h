#pragma once

#include "content/content.h"

#include <QStringList>
#include <QVector>

/// Divides a preparation into steps: ids whose items, one after the other, are the items of the paths themselves.
///
/// A worker orders the items of a directory by their files' full paths, whatever the nesting, so the entries of a
/// directory may stand for it in that order. An entry with many files is divided in turn. A directory whose entries
/// have another number of files than itself stays whole: the worker's walks and rows do not understand all patterns
/// alike.
class PreparePlan
{
public:
    /// What the items are for.
    enum class Kind { PlayList, MusicLibrary };

    struct Step
    {
        CMPath path;
        /// Files at and below the path.
        int files;
    };

    /// The host must outlive the plan. Directories with no more than `smallDirectory` files are not divided.
    PreparePlan(ContentHost& host, Kind kind, int smallDirectory = 200)
        : m_host(host), m_kind(kind), m_smallDirectory(smallDirectory)
    {
    }

    /// The mount's service that prepares the items.
    [[nodiscard]] static CMPath serviceOf(const Mount& mount, Kind kind);

    /// Counts and divides the files below the path, with the worker's services. Stops early if the thread's request is
    /// cancelled.
    Result<void> add(const CMPath& path);

    [[nodiscard]] const QVector<Step>& steps() const { return m_steps; }
    /// Files of all steps.
    [[nodiscard]] int files() const { return m_files; }

private:
    /// A step that may be divided in turn.
    struct Part
    {
        Step step;
        bool isDirectory;
    };

    [[nodiscard]] Result<void> addCounted(const Step& counted);
    [[nodiscard]] bool mayDivide(const CMPath& directory) const;
    [[nodiscard]] Result<QVector<Part>> partsOf(const CMPath& directory) const;
    [[nodiscard]] static int filesOf(const QVector<Part>& parts);
    void addStep(const Step& step);

    ContentHost& m_host;
    Kind m_kind;
    int m_smallDirectory;
    QVector<Step> m_steps;
    int m_files = 0;
};
