#pragma once

#include <QString>
#include <QStringList>

#include <vector>

/// Something that gets in the way of serving, or may.
struct Finding
{
    /// For programs, as in "watchLimit".
    QString name;
    /// For people: what is wrong, and what to do about it.
    QString problem;
    QString remedy;
    /// The first few things that it concerns, and how many there are; none if the problem names them all.
    QStringList examples = {};
    qint64 count = 0;
    /// False if it is good to know, but nothing needs doing.
    bool needsAction = true;
};

using Findings = std::vector<Finding>;

inline void append(Findings& findings, Findings more)
{
    for (Finding& finding : more)
        findings.push_back(std::move(finding));
}
