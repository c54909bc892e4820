#pragma once

#include <chrono>
#include <functional>
#include <string>
#include <vector>

using Seconds = std::chrono::duration<double>;

struct Timing
{
    /// Processor time of all threads of the process.
    Seconds cpu{0};
    Seconds wall{0};
};

/// Does the work once and returns the time that it took.
using Measure = std::function<Timing()>;

/// Measures work that is too short for the clock: repeats it until it fills a slice of time, and returns the time of
/// one call. The first call is a warm-up and does not count.
[[nodiscard]] Measure repeating(std::function<void()> work);

/// As repeating(), for work that measures a part of itself: `once` returns the time of that part.
[[nodiscard]] Measure averaging(Measure once);

/// Divides the time by the number of equal parts that the work has.
[[nodiscard]] Measure perPart(Measure measure, int parts);

[[nodiscard]] Timing timingOf(const std::function<void()>& work);

/// The clock for a contestant. Processor time depends less on other users of the machine, but does not include the work
/// of other processes, nor waiting.
enum class Clock { Cpu, Wall };

struct Contestant
{
    std::string name;
    Measure measure;
    Clock clock = Clock::Cpu;
    /// Number of rounds that it takes part in, from the first: few for slow contestants.
    int rounds = 1000;
};

/// A ratio to report in each round: the time of `subject` divided by that of `rival`, in processor time if both use
/// that clock.
struct Claim
{
    std::string subject;
    std::string rival;
    /// Target for the median; 0 for none.
    double atMost = 0;
};

/// Another number to report in each round.
struct Fact
{
    std::string name;
    std::function<double()> value;
    double atMost = 0;
};

/// Contestants that are measured in turns, A B C A B C, so that load on the machine slows all of them down.
struct Race
{
    std::vector<Contestant> contestants;
    std::vector<Claim> claims;
    std::vector<Fact> facts = {};
    /// Why it cannot be run here; empty if it can.
    std::string obstacle = {};
};

/// Registers a benchmark with one repetition for each round. Its counters are the claims, named "subject / rival", and
/// the facts; a target is a second counter, with " max" after the name. `prepare` runs just before the first round, and
/// the race that it returns is destroyed after the last.
void addRace(const std::string& name, int rounds, std::function<Race()> prepare);

/// Ends the program with the message `what` if the measured work has failed.
void require(bool holds, const char* what);
