#include "support/listingcounter.h"

#include "support/race.h"

#include <sys/mman.h>

ListingCounter::ListingCounter()
{
    require(m_file.open() && m_file.resize(sizeof *m_calls), "cannot make a file");
    void* const memory = mmap(nullptr, sizeof *m_calls, PROT_READ | PROT_WRITE, MAP_SHARED, m_file.handle(), 0);
    require(memory != MAP_FAILED, "cannot map a file");
    m_calls = static_cast<std::atomic<int>*>(memory);
}

ListingCounter::~ListingCounter()
{
    munmap(m_calls, sizeof *m_calls);
}

QStringList ListingCounter::environment() const
{
    return {
        QStringLiteral("LD_PRELOAD=" TAVO_COUNT_LISTINGS), QStringLiteral("TAVO_BENCH_LISTINGS=") + m_file.fileName()};
}
