#pragma once

#include <chrono>
#include <functional>
#include <string>
#include <vector>

using Seconds = std::chrono::duration<double>;

struct Timing
{
    /// What the process used, all threads.
    Seconds cpu{0};
    Seconds wall{0};
};

/// Does the work once and tells how long it took.
using Measure = std::function<Timing()>;

/// Measures work that is too short for the clock: it is repeated until it fills a slice of time, the first call is
/// left out as a warm-up, and the answer is the time of one call.
[[nodiscard]] Measure repeating(std::function<void()> work);

/// As repeating(), for work of which only a part is to be measured, and tells how long that took.
[[nodiscard]] Measure averaging(Measure once);

/// The time of a part of the work, of which there are so many.
[[nodiscard]] Measure perPart(Measure measure, int parts);

[[nodiscard]] Timing timingOf(const std::function<void()>& work);

/// What tells how long a contestant works. Processor time is the better measure on a machine with other users, but it
/// misses the work of other processes and all waiting.
enum class Clock { Cpu, Wall };

struct Contestant
{
    std::string name;
    Measure measure;
    Clock clock = Clock::Cpu;
    /// Takes part in the first so many rounds only; for those that are slow and far behind.
    int rounds = 1000;
};

/// A ratio to report: the time of `subject` by that of `rival`, round by round. Processor time if both are measured by
/// it.
struct Claim
{
    std::string subject;
    std::string rival;
    /// Target for the median; 0: none.
    double atMost = 0;
};

/// Something else to report once a round.
struct Fact
{
    std::string name;
    std::function<double()> value;
    double atMost = 0;
};

/// Contestants that are measured in turns, A B C A B C, so that whatever else the machine does meets all of them.
struct Race
{
    std::vector<Contestant> contestants;
    std::vector<Claim> claims;
    std::vector<Fact> facts = {};
};

/// Registers a benchmark with one repetition a round and one counter a claim, named "subject / rival", and a fact;
/// a second counter with the word "max" after the name is the target. `prepare` runs just before the first round, what
/// it made goes after the last.
void addRace(const std::string& name, int rounds, std::function<Race()> prepare);

/// Ends the program if what was measured did not do its work.
void require(bool holds, const char* what);
