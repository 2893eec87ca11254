// Full lists against a full mailbox: 10,000 entries, searched for in 10,000 senders and 10,000 subjects.
// Compares the matcher, building included, with the plain double loop of substring searches. Ends with status
// 1 when a verdict differs or the matcher is less than 100 times as fast.
#include <benchmark/benchmark.h>

#include <cstdio>
#include <fstream>
#include <map>
#include <random>
#include <string>
#include <string_view>
#include <vector>

#include "base/text.h"
#include "mail/list_matcher.h"

namespace {

using vornelle::containsNoCase;
using vornelle::ListMatcher;
using vornelle::trim;
using Texts = std::vector<std::string>;
using Verdicts = std::vector<bool>;

constexpr int kCount = 10000;
constexpr double kRequiredRatio = 100;

// Words of letters, one in twenty above ASCII, in either case.
class Words {
 public:
  std::string word(int shortest, int longest) {
    std::string text;
    for (int length = shortest + below(longest - shortest + 1); length > 0; --length) {
      if (below(20) == 0) {
        text += static_cast<char>(0xC0 + below(0x40));
      } else {
        text += static_cast<char>((below(10) == 0 ? 'A' : 'a') + below(26));
      }
    }
    return text;
  }
  int below(int limit) { return static_cast<int>(random_() % static_cast<unsigned>(limit)); }

 private:
  std::mt19937 random_{1939};
};

struct Data {
  Texts entries, texts;
};

Data makeData() {
  Words words;
  Data data;
  while (static_cast<int>(data.entries.size()) < kCount) {
    const std::string domain = "@" + words.word(4, 10) + ".example";
    data.entries.push_back(words.word(3, 8) + domain);
    if (data.entries.size() % 10 == 0) data.entries.push_back(domain);  // contained in the one before
  }
  data.entries.resize(kCount);
  for (int n = 0; n < kCount; ++n) {
    // One sender in a hundred is on the list.
    const std::string address = n % 100 == 0 ? data.entries[words.below(kCount)]
                                             : words.word(3, 8) + "@" + words.word(4, 10) + ".example";
    data.texts.push_back("\"" + words.word(3, 8) + " " + words.word(4, 10) + "\" <" + address + ">");
    std::string subject = words.word(3, 8);
    for (int more = 2 + words.below(5); more > 0; --more) subject.append(" ").append(words.word(2, 9));
    data.texts.push_back(subject);
  }
  return data;
}

const Data& data() {
  static const Data made = makeData();
  return made;
}

Verdicts plainVerdicts, matcherVerdicts;

void plainLoop(benchmark::State& state) {
  for ([[maybe_unused]] auto _ : state) {
    plainVerdicts.clear();
    for (const std::string& text : data().texts) {
      bool hit = false;
      for (const std::string& entry : data().entries) {
        hit = !trim(entry).empty() && containsNoCase(text, entry);
        if (hit) break;
      }
      plainVerdicts.push_back(hit);
    }
  }
}

void matcher(benchmark::State& state) {
  for ([[maybe_unused]] auto _ : state) {
    matcherVerdicts.clear();
    const ListMatcher built(data().entries);
    for (const std::string& text : data().texts) matcherVerdicts.push_back(built.matches(text));
  }
}

class Times : public benchmark::ConsoleReporter {
 public:
  void ReportRuns(const std::vector<Run>& runs) override {
    for (const Run& run : runs) milliseconds[run.run_name.function_name] = run.GetAdjustedCPUTime();
    ConsoleReporter::ReportRuns(runs);
  }
  std::map<std::string, double> milliseconds;
};

}  // namespace

// One a line, for other programs to do the same work.
int writeData(const std::string& folder) {
  const auto write = [&folder](const char* name, const Texts& lines) {
    std::ofstream file(folder + "/" + name, std::ios::binary);
    for (const std::string& line : lines) file << line << "\n";
    return file.good();
  };
  return write("entries", data().entries) && write("texts", data().texts) ? 0 : 1;
}

int main(int argc, char** argv) {
  benchmark::Initialize(&argc, argv);
  constexpr std::string_view kWrite = "--write=";
  if (argc == 2 && std::string_view(argv[1]).starts_with(kWrite)) return writeData(argv[1] + kWrite.size());
  benchmark::RegisterBenchmark("plain double loop", plainLoop)->Iterations(1)->Unit(benchmark::kMillisecond);
  benchmark::RegisterBenchmark("matcher, building included", matcher)->Unit(benchmark::kMillisecond);
  Times times;
  benchmark::RunSpecifiedBenchmarks(&times);

  if (plainVerdicts.empty() && !matcherVerdicts.empty()) return 0;  // chosen by a filter
  if (plainVerdicts.empty() || plainVerdicts != matcherVerdicts) {
    std::printf("list matching: the verdicts differ\n");
    return 1;
  }
  const double ratio =
      times.milliseconds["plain double loop"] / times.milliseconds["matcher, building included"];
  std::printf("list matching: %.0f times as fast as the plain double loop (at least %.0f wanted)\n", ratio,
              kRequiredRatio);
  return ratio >= kRequiredRatio ? 0 : 1;
}
