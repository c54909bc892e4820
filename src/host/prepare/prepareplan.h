#pragma once

#include "content/content.h"

#include <QStringList>
#include <QVector>

/// Divides a preparation into steps: ids whose items, one after the other, are the items of the paths themselves.
///
/// A worker orders the items of a directory by their files' full paths, whatever the nesting, so the entries of a
/// directory may stand for it in that order. An entry with many files is divided in turn.
class PreparePlan
{
public:
    struct Step
    {
        CMPath path;
        /// Files at and below the path.
        int files;
    };

    /// The host must outlive the plan. Directories with no more than `smallDirectory` files are not divided.
    explicit PreparePlan(ContentHost& host, int smallDirectory = 200) : m_host(host), m_smallDirectory(smallDirectory)
    {
    }

    /// Counts and divides the files below the path, with the worker's services. Stops early if the thread's request is
    /// cancelled.
    Result<void> add(const CMPath& path);

    [[nodiscard]] const QVector<Step>& steps() const { return m_steps; }
    /// Files of all steps.
    [[nodiscard]] int files() const { return m_files; }

private:
    /// `files`: at and below the directory.
    Result<void> divide(const CMPath& directory, int files);
    [[nodiscard]] bool isSymlink(const CMPath& path) const;
    void addStep(const CMPath& path, int files);

    ContentHost& m_host;
    int m_smallDirectory;
    QVector<Step> m_steps;
    int m_files = 0;
};
