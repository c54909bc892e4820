#include "support/module.h"
#include "support/race.h"
#include "support/workshop.h"

#include <memory>

namespace {

/// Compares the module with one built from the same source without log lines. An empty page leaves only the listing to
/// measure.
Race listing(const Workshop& workshop, int entries)
{
    const QString directory = workshop.directoryOf(entries);
    const auto list = [=](const std::shared_ptr<CMWorker>& worker) {
        return repeating(
            [=] { require(requestRows(*worker, directory, 0, -1, {}).rowsCount() > 0, "the worker lists nothing"); });
    };
    return {
        {{"without log lines", list(loadWorker(TAVO_MODULE_WITHOUT_LOG, workshop.root(), playablePatterns()))},
         {"log lines, off", list(loadWorker(workshop.root(), playablePatterns()))}},
        {{"log lines, off", "without log lines", 1.02}}};
}

} // namespace

int main(int argc, char** argv)
{
    return runBenchmarks(argc, argv, [](const Workshop& workshop) {
        const int entries = workshop.isSmoke() ? 1000 : 10000;
        addRace("listing/" + std::to_string(entries), workshop.rounds(101), [=, &workshop] {
            return listing(workshop, entries);
        });
    });
}
