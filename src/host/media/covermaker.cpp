#include "media/covermaker.h"

#include <tagreader/coverreader.h>

#include <QFileInfo>

namespace {

/// The same file can be a source for the picture in its tags and as a picture itself.
QByteArray identityOf(const CoverMaker::Source& source)
{
    return identityOf(source.file.status) + (source.kind == CoverMaker::Kind::Audio ? "a" : "p");
}

QByteArray keyOf(const QByteArray& identity, int width)
{
    return identity + QByteArray::number(width);
}

CoverAnswer answerWith(const QByteArray& picture, const QByteArray& key)
{
    const bool isPng = picture.startsWith("\x89PNG");
    return {true, Cover{isPng ? "image/png" : "image/jpeg", '"' + key + '"', picture}};
}

QByteArray pictureOf(const CoverMaker::Source& source, int width)
{
    const int descriptor = source.file.descriptor.get();
    if (source.kind == CoverMaker::Kind::Picture)
        return CoverReader::fromPictureFile(descriptor, width).data;
    return CoverReader::fromAudioFile(descriptor, QFileInfo(source.name).suffix(), width).data;
}

} // namespace

/// Excludes other threads from decoding the same file.
class CoverMaker::Turn
{
public:
    Turn(CoverMaker& maker, const QByteArray& identity) : m_maker(maker), m_identity(identity)
    {
        std::unique_lock lock(m_maker.m_mutex);
        m_maker.m_turnEnded.wait(lock, [this] { return !m_maker.m_turns.contains(m_identity); });
        m_maker.m_turns.insert(m_identity);
    }

    ~Turn()
    {
        const std::lock_guard lock(m_maker.m_mutex);
        m_maker.m_turns.remove(m_identity);
        m_maker.m_turnEnded.notify_all();
    }

    Q_DISABLE_COPY_MOVE(Turn)

private:
    CoverMaker& m_maker;
    const QByteArray m_identity;
};

CoverAnswer CoverMaker::cover(const Source& source, int width, Effort effort)
{
    const QByteArray identity = identityOf(source);
    CoverAnswer answer = look(identity, width);
    if (answer.isKnown || effort == Effort::Look)
        return answer;
    const Turn turn(*this, identity);
    answer = look(identity, width);
    return answer.isKnown ? answer : decode(source, identity, width);
}

CoverAnswer CoverMaker::look(const QByteArray& identity, int width)
{
    if (isWithoutCover(identity))
        return CoverAnswer::none();
    const QByteArray key = keyOf(identity, width);
    const QByteArray picture = m_cache.find(key);
    return picture.isEmpty() ? CoverAnswer() : answerWith(picture, key);
}

CoverAnswer CoverMaker::decode(const Source& source, const QByteArray& identity, int width)
{
    ++m_decoded;
    const QByteArray picture = pictureOf(source, width);
    if (picture.isEmpty()) {
        rememberWithoutCover(identity);
        return CoverAnswer::none();
    }
    const QByteArray key = keyOf(identity, width);
    m_cache.keep(key, picture);
    return answerWith(picture, key);
}

bool CoverMaker::isWithoutCover(const QByteArray& identity)
{
    // Not for ever, since memory or descriptors may have been short.
    constexpr std::chrono::minutes memory{5};
    const std::lock_guard lock(m_mutex);
    const Clock::time_point* const since = m_withoutCover.object(identity);
    return since && Clock::now() - *since < memory;
}

void CoverMaker::rememberWithoutCover(const QByteArray& identity)
{
    const std::lock_guard lock(m_mutex);
    m_withoutCover.insert(identity, new Clock::time_point(Clock::now()));
}
