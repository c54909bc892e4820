#pragma once

#include <model/cmpath.h>

#include <QStringList>
#include <QVector>

class Host;

/// How a preparation is asked for bit by bit: ids whose items, one after the other, are the items that the paths
/// themselves would have given.
///
/// The items of a directory come in the order of their files' full paths, whatever the nesting, so a directory can be
/// replaced by what lies in it in that order. What lies in it is asked for as a directory again, where that is small
/// enough, else file by file.
class PreparePlan
{
public:
    enum class Kind { PlayList, MusicLibrary };

    struct Step
    {
        /// An encoded path.
        QString id;
        /// That it stands for.
        int files;
    };

    /// The host must outlive the plan. Directories with no more than `smallDirectory` files are not divided.
    PreparePlan(const Host& host, Kind kind, int smallDirectory = 200);

    void add(const CMPath& path);

    [[nodiscard]] const QVector<Step>& steps() const { return m_steps; }
    /// Of all steps.
    [[nodiscard]] int files() const { return m_files; }

private:
    /// `files`: those below `directory`, in their order, full paths.
    void addDirectory(const QString& directory, const QStringList& files);
    void divide(const QString& directory, const QStringList& files);
    void addStep(const QString& path, int files);

    const Host* m_host;
    int m_smallDirectory;
    QStringList m_patterns;
    bool m_mayDivide = true;
    QVector<Step> m_steps;
    int m_files = 0;
};
