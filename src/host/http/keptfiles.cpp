#include "http/keptfiles.h"

#include "exec/rootpools.h"
#include "http/iothread.h"

#include <algorithm>
#include <iterator>
#include <utility>

KeptFiles::KeptFiles(MediaLibrary library, IoThread& io, RootPools& disk, const Settings& settings)
    : m_library(library), m_io(io), m_disk(disk), m_settings(settings)
{
}

KeptFiles::File KeptFiles::find(const QString& prefix, const QString& base)
{
    const auto entry = entryOf(prefix, base);
    if (entry == m_entries.end())
        return nullptr;
    if (!m_library.isCurrent(*entry->file, prefix, base)) {
        close(entry, std::next(entry));
        return nullptr;
    }
    entry->isUsed = true;
    return entry->file;
}

void KeptFiles::keep(const QString& prefix, const QString& base, File file)
{
    m_io.post([this, entry = Entry{prefix, base, std::move(file)}] { add(entry); });
}

KeptFiles::Entries::iterator KeptFiles::entryOf(const QString& prefix, const QString& base)
{
    return std::find_if(m_entries.begin(), m_entries.end(), [&](const Entry& entry) {
        return entry.base == base && entry.prefix == prefix;
    });
}

void KeptFiles::add(Entry entry)
{
    const auto known = entryOf(entry.prefix, entry.base);
    if (known != m_entries.end())
        close(known, std::next(known));
    else if (m_entries.size() == m_settings.most)
        close(m_entries.begin(), std::next(m_entries.begin()));
    m_entries.push_back(std::move(entry));
    if (!std::exchange(m_isWaiting, true))
        closeUnusedLater();
}

void KeptFiles::closeUnusedLater()
{
    m_io.after(m_settings.interval, [this] { closeUnused(); });
}

void KeptFiles::closeUnused()
{
    const auto unused =
        std::stable_partition(m_entries.begin(), m_entries.end(), [](const Entry& entry) { return entry.isUsed; });
    close(unused, m_entries.end());
    for (Entry& entry : m_entries)
        entry.isUsed = false;
    m_isWaiting = !m_entries.empty();
    if (m_isWaiting)
        closeUnusedLater();
}

void KeptFiles::close(Entries::iterator begin, Entries::iterator end)
{
    for (auto entry = begin; entry != end; ++entry)
        m_disk.post(entry->prefix, [file = std::move(entry->file)]() mutable { file.reset(); });
    m_entries.erase(begin, end);
}
