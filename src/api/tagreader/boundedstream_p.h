#pragma once

#include "model/cmrequestcontext.h"

#include <QByteArray>

#include <tiostream.h>

#include <array>

/// A regular file that TagLib reads, with limits to the work that a single file can cause.
///
/// TagLib trusts the sizes, counts and nesting that a file claims. Beyond any limit the stream has no more bytes, which
/// TagLib takes for a truncated file; so it does once the request that the thread serves is cancelled.
class BoundedStream : public TagLib::IOStream
{
public:
    struct Limits
    {
        /// Bytes in one read; longer reads are cut short. The default is the length of the longest FLAC block.
        unsigned long block = 1UL << 24;
        /// Bytes in all reads together.
        unsigned long total = 1UL << 26;
        /// Bytes in all reads of up to 4 KiB together: TagLib searches a file with these.
        unsigned long searched = 1UL << 22;
        /// Number of reads.
        int reads = 200'000;
    };

    /// Opens the file only if it is a regular one, so that no name can make it wait.
    explicit BoundedStream(QByteArray name);
    /// Reads a file that is open, if it is a regular one. The descriptor stays the caller's and may be closed.
    explicit BoundedStream(int descriptor);
    ~BoundedStream() override;

    /// Replaces the limits; what was read before does not count.
    void setLimits(const Limits& limits) { m_left = limits; }

    /// Empty for a file that was open.
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

    /// A part of the file, aligned so that one window holds any short block.
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
    /// The position of the stack when the stream was made.
    const char* m_stack;
    /// Null: the thread serves no request.
    const CMRequestContext* m_request;
    /// The last two parts of the file that short reads used: TagLib jumps back and forth between a file's ends.
    std::array<Window, 2> m_windows;
    size_t m_lastWindow = 0;
};
