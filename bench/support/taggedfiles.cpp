#include "support/taggedfiles.h"

#include "peers/taglib.h"
#include "support/race.h"
#include "support/testdata.h"

#include <QBuffer>
#include <QDir>
#include <QDirIterator>
#include <QFile>
#include <QImage>

#include <random>

namespace {

constexpr int coverWidth = 480;

QStringList demoFiles()
{
    QStringList files;
    for (QDirIterator walk(
             QStringLiteral(TAVO_DEMO),
             {QStringLiteral("*.flac"), QStringLiteral("*.m4a"), QStringLiteral("*.mp3"), QStringLiteral("*.ogg"),
              QStringLiteral("*.opus"), QStringLiteral("*.wav")},
             QDir::Files, QDirIterator::Subdirectories);
         walk.hasNext();)
        files.append(walk.next());
    files.sort();
    require(!files.isEmpty(), "there are no demo files");
    return files;
}

/// A JPEG file with as many bytes as a photograph of that size.
TagLib::ByteVector makeCover(unsigned album)
{
    std::minstd_rand random(album + 1);
    QImage image(coverWidth, coverWidth, QImage::Format_RGB32);
    for (int y = 0; y < coverWidth; ++y) {
        for (int x = 0; x < coverWidth; ++x) {
            const auto noise = static_cast<int>(random() % 48);
            image.setPixel(x, y, qRgb(x * 200 / coverWidth + noise, y * 200 / coverWidth + noise, 100 + noise));
        }
    }
    QByteArray bytes;
    QBuffer buffer(&bytes);
    require(image.save(&buffer, "jpeg", 85), "cannot make a cover");
    return {bytes.constData(), static_cast<unsigned>(bytes.size())};
}

QString makeDirectory(const QString& parent, const std::string& name)
{
    const QString path = parent + QLatin1Char('/') + QString::fromStdString(name);
    require(QDir().mkdir(path), "cannot make a directory of the test data");
    return path;
}

void fillAlbum(const QString& directory, const QStringList& sources, unsigned album, NameMaker& names)
{
    const TagLib::ByteVector cover = makeCover(album);
    const std::string artist = names.artist();
    const std::string title = names.title();
    for (unsigned track = 1; track <= tracksPerAlbum; ++track) {
        const QString source = sources.at(static_cast<int>(album + track) % sources.size());
        const std::string ending = '.' + QFileInfo(source).suffix().toStdString();
        const QString target = directory + QLatin1Char('/') + QString::fromStdString(names.fileEndingWith(ending));
        require(QFile::copy(source, target), "cannot copy a demo file");
        writeTags(target.toStdString(), {names.title(), artist, title, track, 1960 + album % 65}, cover);
    }
}

} // namespace

void fillWithTaggedFiles(const std::string& directory, int albums)
{
    const QStringList sources = demoFiles();
    NameMaker names;
    const QString part = makeDirectory(QString::fromStdString(directory), partOfTaggedFiles);
    const QString rest = makeDirectory(QString::fromStdString(directory), "Rest");
    for (int album = 0; album < albums; ++album) {
        const QString target = makeDirectory(album < albums / 4 ? part : rest, names.directory());
        fillAlbum(target, sources, static_cast<unsigned>(album), names);
    }
}
