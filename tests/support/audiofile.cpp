#include "audiofile.h"

#include <QFile>
#include <QtEndian>

#include <gtest/gtest.h>

namespace {

QByteArray synchsafe(quint32 number)
{
    QByteArray bytes;
    for (const int shift : {21, 14, 7, 0})
        bytes.append(static_cast<char>((number >> shift) & 0x7F));
    return bytes;
}

QByteArray apeItem(const QByteArray& key, const QByteArray& value, quint32 flags)
{
    return littleEndian(static_cast<quint32>(value.size())) + littleEndian(flags) + key + '\0' + value;
}

quint32 claimed(qint64 claimedSize, int trueSize)
{
    return static_cast<quint32>(claimedSize < 0 ? trueSize : claimedSize);
}

QByteArray shortLittleEndian(quint16 number)
{
    return littleEndian(number).left(2);
}

/// An Ogg page; `segments` are the lacing values.
QByteArray oggPage(char flags, quint32 number, const QByteArray& segments, const QByteArray& content)
{
    QByteArray page("OggS\0", 5);
    page.append(flags).append(QByteArray(8, '\0'));
    page += littleEndian(1) + littleEndian(number) + littleEndian(0);
    page.append(static_cast<char>(segments.size()));
    return page + segments + content;
}

} // namespace

QByteArray bigEndian(quint32 number)
{
    QByteArray bytes(4, '\0');
    qToBigEndian(number, bytes.data());
    return bytes;
}

QByteArray littleEndian(quint32 number)
{
    QByteArray bytes(4, '\0');
    qToLittleEndian(number, bytes.data());
    return bytes;
}

void writeFile(const QString& path, const QByteArray& content)
{
    QFile file(path);
    ASSERT_TRUE(file.open(QIODevice::WriteOnly)) << path.toStdString();
    ASSERT_EQ(file.write(content), content.size());
}

QByteArray mpegSound()
{
    // MPEG 1, layer III, 128 kbit/s, 44.1 kHz, mono: 417 bytes for 1152 samples.
    QByteArray frame("\xff\xfb\x90\xc0", 4);
    frame.append(QByteArray(417 - 4, '\0'));
    return frame.repeated(38);
}

QByteArray id3Frame(const char* id, const QByteArray& content, quint16 flags)
{
    QByteArray frame = id + synchsafe(static_cast<quint32>(content.size()));
    frame.append(static_cast<char>(flags >> 8)).append(static_cast<char>(flags & 0xFF));
    return frame + content;
}

QByteArray utf8Content(const QString& text)
{
    return '\3' + text.toUtf8();
}

QByteArray pictureContent(const QByteArray& picture, char purpose)
{
    QByteArray content("\0image/x\0", 9);
    content.append(purpose).append('\0');
    return content + picture;
}

QByteArray id3Tag(const QByteArray& frames, qint64 claimedSize)
{
    return QByteArray("ID3\4\0\0", 6) + synchsafe(claimed(claimedSize, frames.size())) + frames;
}

QByteArray flacFile(const QList<QPair<int, QByteArray>>& blocks)
{
    // 44.1 kHz, stereo, 16 bits, 88200 samples.
    QByteArray information = QByteArray("\x10\x00\x10\x00\0\0\0\0\0\0\x0a\xc4\x42\xf0\x00\x01\x58\x88", 18);
    information.append(QByteArray(16, '\0'));
    QByteArray file = "fLaC" + bigEndian(static_cast<quint32>(information.size())) + information;
    for (const auto& [type, content] : blocks)
        file += bigEndian(static_cast<quint32>(type) << 24 | static_cast<quint32>(content.size())) + content;
    // A block of padding, the last.
    return file + QByteArray("\x81\0\0\0", 4);
}

QByteArray flacPicture(const QByteArray& picture, qint64 claimedSize)
{
    const QByteArray mimeType("image/png");
    return bigEndian(3) + bigEndian(static_cast<quint32>(mimeType.size())) + mimeType + QByteArray(20, '\0') +
           bigEndian(claimed(claimedSize, picture.size())) + picture;
}

QByteArray vorbisComment(const QByteArrayList& fields)
{
    QByteArray comment = littleEndian(0) + littleEndian(static_cast<quint32>(fields.size()));
    for (const QByteArray& field : fields)
        comment += littleEndian(static_cast<quint32>(field.size())) + field;
    return comment;
}

QByteArray mp4Atom(const char* name, const QByteArray& content, qint64 claimedSize)
{
    return bigEndian(claimed(claimedSize, content.size() + 8)) + name + content;
}

QByteArray riffChunk(const char* name, const QByteArray& content)
{
    return name + littleEndian(static_cast<quint32>(content.size())) + content + QByteArray(content.size() % 2, '\0');
}

QByteArray wavFile(const QByteArray& chunks)
{
    // PCM, mono, 8 kHz, 8 bits.
    const QByteArray format("\x01\0\x01\0\x40\x1f\0\0\x40\x1f\0\0\x01\0\x08\0", 16);
    const QByteArray content = "WAVE" + riffChunk("fmt ", format) + riffChunk("data", QByteArray(800, '\x80')) + chunks;
    return riffChunk("RIFF", content);
}

QByteArray apeTag(const KeysAndValues& texts, const KeysAndValues& bytes)
{
    constexpr quint32 isBinary = 2;
    QByteArray body;
    for (const auto& [key, value] : texts)
        body += apeItem(key, value, 0);
    for (const auto& [key, value] : bytes)
        body += apeItem(key, value, isBinary);
    const auto size = static_cast<quint32>(body.size() + 32);
    const auto count = static_cast<quint32>(texts.size() + bytes.size());
    return body + "APETAGEX" + littleEndian(2000) + littleEndian(size) + littleEndian(count) + QByteArray(12, '\0');
}

QByteArray mp4File(const QByteArray& entries)
{
    const QByteArray meta = mp4Atom("meta", bigEndian(0) + mp4Atom("ilst", entries));
    return mp4Atom("ftyp", "M4A ") + mp4Atom("moov", mp4Atom("udta", meta));
}

QByteArray asfObject(const char* name, const QByteArray& content)
{
    constexpr int header = 24;
    return QByteArray::fromHex(name) + littleEndian(static_cast<quint32>(content.size() + header)) + littleEndian(0) +
           content;
}

QByteArray asfFile(const QByteArrayList& objects)
{
    const QByteArrayList needed = {
        asfObject("a1dcab8c47a9cf118ee400c00c205365", QByteArray(80, '\0')),
        asfObject("9107dcb7b7a9cf118ee600c00c205365", QByteArray(78, '\0'))};
    const auto count = static_cast<quint32>(needed.size() + objects.size());
    const QByteArray content = littleEndian(count) + "\1\2" + needed.join() + objects.join();
    return asfObject("3026b2758e66cf11a6d900aa0062ce6c", content);
}

QByteArray asfAttribute(const QString& name, const QString& text, quint16 claimedCount)
{
    const auto counted = [](const QString& content) {
        const auto size = static_cast<quint16>(content.size() * 2);
        return shortLittleEndian(size) + QByteArray(reinterpret_cast<const char*>(content.utf16()), size);
    };
    const QByteArray attribute = counted(name) + shortLittleEndian(0) + counted(text);
    return asfObject("40a4d0d207e3d21197f000a0c95ea850", shortLittleEndian(claimedCount) + attribute);
}

QByteArray oggFile(const QByteArray& comment)
{
    QByteArray head("\x01vorbis\0\0\0\0\2", 12);
    head += littleEndian(44100) + QByteArray(13, '\0');
    QByteArray file = oggPage(2, 0, QByteArray(1, static_cast<char>(head.size())), head);
    const QByteArray packet = "\x03vorbis" + comment;
    constexpr int fullPage = 255 * 255;
    quint32 number = 1;
    for (int position = 0; position <= packet.size(); position += fullPage) {
        const QByteArray content = packet.mid(position, fullPage);
        QByteArray segments(content.size() / 255, '\xff');
        if (content.size() < fullPage)
            segments.append(static_cast<char>(content.size() % 255));
        file += oggPage(position > 0 ? 1 : 0, number++, segments, content);
    }
    return file;
}
