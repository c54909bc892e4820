#include "soundformat_p.h"

#include <cmath>
#include <optional>

namespace {

struct AdtsFrame
{
    int hertz;
    int channels;
    int bytes;
    int samples;
};

int bits(const TagLib::ByteVector& header, int byte, int mask, int shift)
{
    return (static_cast<unsigned char>(header[byte]) & mask) >> shift;
}

std::optional<AdtsFrame> adtsFrame(const TagLib::ByteVector& header)
{
    static constexpr int rates[16] = {96000, 88200, 64000, 48000, 44100, 32000, 24000,
                                      22050, 16000, 12000, 11025, 8000,  7350};
    static constexpr int channels[8] = {0, 1, 2, 3, 4, 5, 6, 8};
    constexpr unsigned int headerSize = 7;
    if (header.size() < headerSize || header[0] != '\xff' || (header[1] & 0xf6) != 0xf0)
        return {};
    AdtsFrame frame = {};
    frame.hertz = rates[bits(header, 2, 0x3c, 2)];
    frame.channels = channels[bits(header, 2, 0x01, 0) << 2 | bits(header, 3, 0xc0, 6)];
    frame.bytes = bits(header, 3, 0x03, 0) << 11 | bits(header, 4, 0xff, 0) << 3 | bits(header, 5, 0xe0, 5);
    frame.samples = 1024 * (1 + bits(header, 6, 0x03, 0));
    if (frame.hertz == 0 || frame.bytes < static_cast<int>(headerSize))
        return {};
    return frame;
}

std::optional<AdtsFrame> adtsFrameAt(TagLib::IOStream& stream, long offset)
{
    stream.seek(offset);
    return adtsFrame(stream.readBlock(7));
}

} // namespace

SoundFormat adtsFormat(TagLib::IOStream& stream, long offset)
{
    constexpr int countedFrames = 4096;
    const std::optional<AdtsFrame> first = adtsFrameAt(stream, offset);
    if (!first)
        return {};
    long end = offset;
    double samples = 0;
    std::optional<AdtsFrame> frame = first;
    for (int count = 0; frame && count < countedFrames; ++count) {
        samples += frame->samples;
        end += frame->bytes;
        frame = adtsFrameAt(stream, end);
    }
    const auto counted = static_cast<double>(end - offset);
    const double seconds = samples / first->hertz;
    const double rest = frame ? static_cast<double>(stream.length() - end) / counted : 0;
    SoundFormat format;
    format.milliseconds = std::lround(seconds * (1 + rest) * 1000);
    format.bitsPerSecond = static_cast<int>(std::lround(counted * 8 / seconds));
    format.hertz = first->hertz;
    format.channels = first->channels;
    return format;
}
