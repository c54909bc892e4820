#include "support/race.h"

#include <benchmark/benchmark.h>

#include <algorithm>
#include <cmath>
#include <cstdio>
#include <cstdlib>
#include <map>
#include <memory>
#include <utility>

#include <time.h>

namespace {

constexpr Seconds slice{0.02};

/// Runs something so many times and returns the time of all runs.
using MeasureMany = std::function<Timing(int)>;

class Repeating
{
public:
    explicit Repeating(MeasureMany many) : m_many(std::move(many)) {}

    Timing operator()()
    {
        if (m_times == 0)
            calibrate();
        const Timing all = m_many(m_times);
        return {all.cpu / m_times, all.wall / m_times};
    }

private:
    void calibrate()
    {
        const Seconds first = m_many(1).wall;
        const Seconds once = first > slice ? first : std::max(m_many(1).wall, Seconds(1e-7));
        m_times = std::max(1, static_cast<int>(std::ceil(slice / once)));
    }

    MeasureMany m_many;
    int m_times = 0;
};

Seconds cpuTime()
{
    timespec time = {};
    clock_gettime(CLOCK_PROCESS_CPUTIME_ID, &time);
    return std::chrono::seconds(time.tv_sec) + std::chrono::nanoseconds(time.tv_nsec);
}

/// Interpolates linearly.
double quantile(std::vector<double> values, double part)
{
    if (values.empty())
        return 0;
    std::sort(values.begin(), values.end());
    const double position = part * static_cast<double>(values.size() - 1);
    const auto below = static_cast<std::size_t>(position);
    const std::size_t above = std::min(below + 1, values.size() - 1);
    return values[below] + (values[above] - values[below]) * (position - static_cast<double>(below));
}

double firstQuartile(const std::vector<double>& values)
{
    return quantile(values, 0.25);
}

double thirdQuartile(const std::vector<double>& values)
{
    return quantile(values, 0.75);
}

struct Lap
{
    Timing timing;
    Clock clock;
};

double ratio(const Lap& subject, const Lap& rival)
{
    const bool waits = subject.clock == Clock::Wall || rival.clock == Clock::Wall;
    return waits ? subject.timing.wall / rival.timing.wall : subject.timing.cpu / rival.timing.cpu;
}

void count(const std::string& name, double value, double atMost, benchmark::UserCounters& counters)
{
    counters[name] = value;
    if (atMost > 0)
        counters[name + " max"] = atMost;
}

class Row
{
public:
    Row(int rounds, std::function<Race()> prepare) : m_prepare(std::move(prepare)), m_roundsLeft(rounds) {}

    void run(benchmark::State& state)
    {
        if (m_round == 0)
            m_race = m_prepare();
        ++m_round;
        if (!m_race.obstacle.empty()) {
            state.SkipWithError(m_race.obstacle.c_str());
            return;
        }
        for (auto _ : state)
            state.SetIterationTime(report(laps(), state.counters));
        if (--m_roundsLeft == 0)
            m_race = Race();
    }

private:
    [[nodiscard]] std::map<std::string, Lap> laps() const
    {
        std::map<std::string, Lap> result;
        for (const Contestant& contestant : m_race.contestants) {
            if (m_round <= contestant.rounds)
                result[contestant.name] = {contestant.measure(), contestant.clock};
        }
        return result;
    }

    double report(const std::map<std::string, Lap>& laps, benchmark::UserCounters& counters) const
    {
        for (const Claim& claim : m_race.claims) {
            const auto rival = laps.find(claim.rival);
            if (rival == laps.end())
                continue;
            const std::string name = claim.subject + " / " + claim.rival;
            count(name, ratio(laps.at(claim.subject), rival->second), claim.atMost, counters);
        }
        for (const Fact& fact : m_race.facts)
            count(fact.name, fact.value(), fact.atMost, counters);
        return laps.empty() ? 0 : laps.begin()->second.timing.wall.count();
    }

    std::function<Race()> m_prepare;
    Race m_race;
    int m_round = 0;
    int m_roundsLeft;
};

} // namespace

Measure repeating(std::function<void()> work)
{
    return Repeating([work = std::move(work)](int times) {
        return timingOf([&work, times] {
            for (int i = 0; i < times; ++i)
                work();
        });
    });
}

Measure averaging(Measure once)
{
    return Repeating([once = std::move(once)](int times) {
        Timing sum;
        for (int i = 0; i < times; ++i) {
            const Timing one = once();
            sum.cpu += one.cpu;
            sum.wall += one.wall;
        }
        return sum;
    });
}

Measure perPart(Measure measure, int parts)
{
    return [measure = std::move(measure), parts] {
        const Timing whole = measure();
        return Timing{whole.cpu / parts, whole.wall / parts};
    };
}

Timing timingOf(const std::function<void()>& work)
{
    const Seconds cpuBefore = cpuTime();
    const auto start = std::chrono::steady_clock::now();
    work();
    const Seconds wall = std::chrono::steady_clock::now() - start;
    return {cpuTime() - cpuBefore, wall};
}

void addRace(const std::string& name, int rounds, std::function<Race()> prepare)
{
    const auto row = std::make_shared<Row>(rounds, std::move(prepare));
    benchmark::RegisterBenchmark(name.c_str(), [row](benchmark::State& state) { row->run(state); })
        ->Iterations(1)
        ->Repetitions(rounds)
        ->UseManualTime()
        ->ReportAggregatesOnly()
        ->ComputeStatistics("q1", firstQuartile)
        ->ComputeStatistics("q3", thirdQuartile);
}

void require(bool holds, const char* what)
{
    if (holds)
        return;
    std::fprintf(stderr, "benchmark: %s\n", what);
    std::abort();
}
