#pragma once

#include <QByteArray>

#include <tiostream.h>

#include <array>

/// A regular file as TagLib reads it, with limits to what a single file can make TagLib do.
///
/// TagLib believes what a file says of its sizes, counts and nesting. Past any of the limits the stream is at its end,
/// which TagLib takes for a truncated file.
class BoundedStream : public TagLib::IOStream
{
public:
    struct Limits
    {
        /// Bytes in one read; longer reads are cut. The default is what the longest FLAC block needs.
        unsigned long block = 1UL << 24;
        /// Bytes in all reads together.
        unsigned long total = 1UL << 26;
        /// Bytes in all reads of up to 4 KiB together: TagLib searches by these.
        unsigned long searched = 1UL << 22;
        /// Number of reads.
        int reads = 200'000;
    };

    /// Opens nothing but a regular file, so that no name can make it wait.
    explicit BoundedStream(QByteArray name);
    ~BoundedStream() override;

    /// From now on.
    void setLimits(const Limits& limits) { m_left = limits; }

    [[nodiscard]] TagLib::FileName name() const override { return m_name.constData(); }
    [[nodiscard]] TagLib::ByteVector readBlock(unsigned long length) override;
    [[nodiscard]] bool readOnly() const override { return true; }
    [[nodiscard]] bool isOpen() const override { return m_descriptor >= 0; }
    void seek(long offset, Position from = Beginning) override;
    [[nodiscard]] long tell() const override { return m_position; }
    [[nodiscard]] long length() override { return m_length; }

    void writeBlock(const TagLib::ByteVector& /*data*/) override {}
    void insert(const TagLib::ByteVector& /*data*/, unsigned long /*start*/, unsigned long /*replace*/) override {}
    void removeBlock(unsigned long /*start*/, unsigned long /*length*/) override {}
    void truncate(long /*length*/) override {}

private:
    static constexpr unsigned long shortBlock = 4096;

    /// Part of the file, so aligned that any short block lies in one.
    struct Window
    {
        std::array<char, 4 * shortBlock> bytes;
        long start = 0;
        unsigned long length = 0;
    };

    [[nodiscard]] unsigned long allowedLength(unsigned long wanted);
    [[nodiscard]] TagLib::ByteVector readThroughWindow(unsigned long length);
    [[nodiscard]] const Window& windowOver(long start, long end);
    [[nodiscard]] TagLib::ByteVector readDirectly(unsigned long length) const;
    [[nodiscard]] unsigned long readAt(long position, char* to, unsigned long length) const;

    QByteArray m_name;
    long m_length = 0;
    int m_descriptor;
    long m_position = 0;
    Limits m_left;
    /// Where the stack was when the stream was made.
    const char* m_stack;
    /// The last two parts of the file that short reads came from: TagLib goes to and fro between a file's ends.
    std::array<Window, 2> m_windows;
    size_t m_lastWindow = 0;
};
