#include "support/child.h"
#include "support/race.h"
#include "support/workshop.h"

namespace {

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

} // namespace

int main(int argc, char** argv)
{
    return runBenchmarks(argc, argv, [](const Workshop& workshop) {
        addRace("start of the host/10", workshop.rounds(31), [&workshop] { return start(workshop); });
    });
}
