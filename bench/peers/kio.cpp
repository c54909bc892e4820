#include "peers/kio.h"

#include "support/race.h"

#include <KIO/ListJob>

#include <QStringList>
#include <QUrl>

std::size_t Kio::list(const QString& directory)
{
    KIO::ListJob* const job = KIO::listDir(QUrl::fromLocalFile(directory), KIO::HideProgressInfo);
    QStringList names;
    QObject::connect(job, &KIO::ListJob::entries, [&names](KIO::Job*, const KIO::UDSEntryList& entries) {
        for (const KIO::UDSEntry& entry : entries)
            names.append(entry.stringValue(KIO::UDSEntry::UDS_NAME));
    });
    require(job->exec(), "KIO cannot list a directory");
    names.sort();
    return static_cast<std::size_t>(names.size());
}
