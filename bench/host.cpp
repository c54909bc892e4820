#include "support/child.h"
#include "support/hostsession.h"
#include "support/module.h"
#include "support/race.h"
#include "support/workshop.h"
#include "tavo/tavoroles.h"

#include <memory>

namespace {

constexpr int pageSize = 100;

Race start(const Workshop& workshop)
{
    const std::string directory = workshop.directoryOf(10).toStdString();
    return {
        {{"floor", averaging([] { return runProgram({TAVO_EMPTY_PROGRAM}); })},
         {"tavo browse", averaging([=] {
              return runProgram({TAVO_HOST, "--root", directory, "browse"});
          })}},
        {{"tavo browse", "floor", 1.5}}};
}

Race session(const Workshop& workshop, int entries, const QStringList& roles)
{
    const QString directory = workshop.directoryOf(entries).mid(workshop.root().size() + 1);
    const std::shared_ptr<CMWorker> worker = loadWorker(workshop.root(), playablePatterns());
    const auto host = std::make_shared<HostSession>(workshop.root(), playablePatterns());
    return {
        {{"in process", repeating([=] {
              require(requestRows(*worker, directory, 0, pageSize - 1, roles).rowsCount() > 0, "there are no rows");
          }),
          Clock::Wall},
         {"session", repeating([=] { host->rows(directory, 0, pageSize - 1, roles); }), Clock::Wall}},
        {{"session", "in process", entries >= 1000 ? 1.25 : 0}}};
}

} // namespace

int main(int argc, char** argv)
{
    return runBenchmarks(argc, argv, [](const Workshop& workshop) {
        addRace("start of the host/10", workshop.rounds(21), [&workshop] { return start(workshop); });
        for (const int entries : workshop.sizes(10000)) {
            addRace("session, 100 rows, titles/" + std::to_string(entries), workshop.rounds(21), [=, &workshop] {
                return session(workshop, entries, {TavoRoles::Title()});
            });
            addRace("session, 100 rows, seven roles/" + std::to_string(entries), workshop.rounds(21), [=, &workshop] {
                return session(workshop, entries, allRoles());
            });
        }
    });
}
