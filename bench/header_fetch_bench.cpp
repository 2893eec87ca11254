// One header fetch, log-on included, from a POP3 server that is running: SERVER[:PORT] USER PASSWORD
// MESSAGES. The number of messages is checked. figures.mjs starts the servers.
#include <benchmark/benchmark.h>

#include <cstdio>
#include <cstdlib>
#include <memory>

#include "core/settings.h"
#include "mail/mail_component.h"

namespace {

void headerFetch(benchmark::State& state, int messages) {
  for ([[maybe_unused]] auto _ : state) {
    const bool loggedOn = vornelle::newPopComponent().popConnect();
    const std::unique_ptr<vornelle::HeaderList> list =
        loggedOn ? vornelle::currentMail->popGetHeaderList(1) : nullptr;
    vornelle::currentMail.reset();
    if (!list || list->getCount() != messages || list->getItem(messages - 1)->getFromAddress().empty() ||
        list->getItem(messages - 1)->getUidl().empty()) {
      state.SkipWithError("the list is not whole");
      return;
    }
  }
}

}  // namespace

int main(int argc, char** argv) {
  benchmark::Initialize(&argc, argv);
  if (argc != 5) {
    std::fprintf(stderr, "header_fetch_bench SERVER[:PORT] USER PASSWORD MESSAGES\n");
    return 2;
  }
  vornelle::assignConstants();
  vornelle::settings.POP_SERVER = argv[1];
  vornelle::settings.POP_ACCOUNT = argv[2];
  vornelle::settings.POP_PASSWORD = argv[3];
  benchmark::RegisterBenchmark("header fetch", headerFetch, std::atoi(argv[4]))
      ->Iterations(1)
      ->Repetitions(3)
      ->UseRealTime()
      ->Unit(benchmark::kMillisecond);
  benchmark::RunSpecifiedBenchmarks();
  return 0;
}
