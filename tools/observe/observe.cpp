// Shows all that a host and its byte source see of a parser library, so that two versions of it can be compared:
//   zu_observe LIBRARY FILE|FOLDER...                      a line for each file and scenario
//   zu_observe --full FILE SCENARIO LIBRARY FILE|FOLDER... every event of those whose names contain the two texts
//   zu_observe --make-mutants IN OUT COUNT SEED            see make_mutants.h
// Addresses and times of day are left out: the same library always gives the same lines.
#include <dlfcn.h>
#include <malloc.h>
#include <sys/mman.h>
#include <sys/resource.h>
#include <sys/wait.h>
#include <unistd.h>

#include <algorithm>
#include <atomic>
#include <cstdio>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <new>

#include "tools/observe/make_mutants.h"
#include "tools/observe/recorder.h"
#include "tools/observe/scenarios.h"

namespace {

namespace fs = std::filesystem;

constexpr int kWorkers = 2;
constexpr unsigned kMostSeconds = 20;  // of one scenario
// Masks of the library's messages. Without traces it takes its shorter ways.
constexpr int kAllMessages = 15, kAllButTraces = 7;

Factory g_factory;

struct File {
  fs::path path;
  std::string Name() const { return path.filename().string(); }
};

Bytes Read(const File& file) {
  std::ifstream in(file.path, std::ios::binary);
  return {std::istreambuf_iterator<char>(in), {}};
}

/// Plays the scenarios of one file that `wanted` has, in processes of their own from one fatal end to the next.
void Observe(const File& file, const File& other, const std::vector<Scenario>& scenarios, const std::string& wanted,
             Outcome* outcomes) {
  const Bytes bytes = Read(file), otherBytes = Read(other);
  for (size_t next = 0; next < scenarios.size();) {
    std::fflush(stdout);
    const pid_t child = fork();
    if (child == 0) {
      for (size_t i = next; i < scenarios.size(); ++i) {
        if (scenarios[i].name.find(wanted) == std::string::npos) continue;
        g_outcome = &outcomes[i];
        *g_outcome = Outcome();
        g_outcome->end = Outcome::kStopped;
        if (g_full) std::printf("== %s %s\n", file.Name().c_str(), scenarios[i].name.c_str());
        alarm(kMostSeconds);
        g_logMask = i % 2 ? kAllMessages : kAllButTraces;
        scenarios[i].play(g_factory, bytes, otherBytes);
        g_outcome->end = Outcome::kDone;
      }
      std::fflush(stdout);
      _exit(0);
    }
    int status = 0;
    if (child < 0 || waitpid(child, &status, 0) != child) std::perror("zu_observe"), std::exit(2);
    if (status == 0) return;
    while (next < scenarios.size() && outcomes[next].end <= Outcome::kDone) ++next;
    if (next == scenarios.size()) return;
    Outcome& outcome = outcomes[next++];
    if (!WIFSIGNALED(status)) continue;
    const bool late = WTERMSIG(status) == SIGALRM;
    if (late) outcome = Outcome();  // how far it got depends on the machine
    outcome.end = late ? Outcome::kTimedOut : Outcome::kSignal + WTERMSIG(status);
    if (g_full) std::printf("ended by signal %d\n", WTERMSIG(status));
  }
}

void Print(const std::string& file, const std::string& scenario, const Outcome& outcome) {
  if (outcome.end == Outcome::kNotRun) return;
  std::printf("%s %s calls=%u logs=%u reads=%u hash=%016llx", file.c_str(), scenario.c_str(), outcome.calls,
              outcome.logs, outcome.reads, static_cast<unsigned long long>(outcome.hash));
  if (outcome.end == Outcome::kStopped) std::printf(" stopped");
  if (outcome.end == Outcome::kTimedOut) std::printf(" time-out");
  if (outcome.end > Outcome::kSignal) std::printf(" signal=%d", outcome.end - Outcome::kSignal);
  std::printf("\n");
}

std::vector<File> ListFiles(char** begin, char** end) {
  std::vector<File> files;
  for (char** path = begin; path < end; ++path) {
    if (!fs::is_directory(*path)) files.push_back({*path});
    if (!fs::is_directory(*path)) continue;
    for (const auto& entry : fs::directory_iterator(*path)) files.push_back({entry.path()});
  }
  std::sort(files.begin(), files.end(), [](const File& a, const File& b) { return a.Name() < b.Name(); });
  return files;
}

template <typename T>
T* Shared(size_t count) {
  void* const block = mmap(nullptr, count * sizeof(T), PROT_READ | PROT_WRITE, MAP_SHARED | MAP_ANONYMOUS, -1, 0);
  if (block == MAP_FAILED) std::perror("zu_observe"), std::exit(2);
  return new (block) T[count]();
}

/// All files, each by whichever worker is free. The parser gets a different file of the list for a second open.
void ObserveAll(const std::vector<File>& files, const std::string& wantedFile, const std::string& wantedScenario) {
  const std::vector<Scenario> scenarios = Scenarios();
  auto* const outcomes = Shared<Outcome>(files.size() * scenarios.size());
  auto* const taken = Shared<std::atomic<size_t>>(1);
  const auto work = [&] {
    for (size_t i; (i = (*taken)++) < files.size();) {
      if (files[i].Name().find(wantedFile) == std::string::npos) continue;
      const File& other = files[(i + files.size() / 2) % files.size()];
      Observe(files[i], other, scenarios, wantedScenario, outcomes + i * scenarios.size());
    }
  };
  if (g_full) return work();
  for (int i = 0; i < kWorkers; ++i) {
    if (fork() == 0) work(), _exit(0);
  }
  for (int status; wait(&status) > 0;) {
    if (status != 0) std::fprintf(stderr, "zu_observe: a worker failed\n"), std::exit(2);
  }
  for (size_t i = 0; i < files.size(); ++i) {
    for (size_t j = 0; j < scenarios.size(); ++j) {
      Print(files[i].Name(), scenarios[j].name, outcomes[i * scenarios.size() + j]);
    }
  }
}

}  // namespace

int main(int argc, char** argv) {
  if (argc == 6 && std::string(argv[1]) == "--make-mutants") {
    return MakeMutants(argv[2], argv[3], std::strtoul(argv[4], nullptr, 10), std::strtoul(argv[5], nullptr, 10));
  }
  g_full = argc > 4 && std::string(argv[1]) == "--full";
  if (g_full) std::setvbuf(stdout, nullptr, _IOLBF, 0);  // nothing is lost with a process
  char** const first = argv + (g_full ? 4 : 1);
  if (argv + argc - first < 2) return std::fprintf(stderr, "usage: see the head of observe.cpp\n"), 2;
  void* const library = dlopen(fs::absolute(first[0]).c_str(), RTLD_NOW | RTLD_LOCAL);
  if (!library) return std::fprintf(stderr, "zu_observe: %s\n", dlerror()), 2;
  g_factory.create = reinterpret_cast<IParser* (*)()>(dlsym(library, "createParser"));
  g_factory.destroy = reinterpret_cast<void (*)(IParser*)>(dlsym(library, "destroyParser"));
  if (!g_factory.create || !g_factory.destroy) return std::fprintf(stderr, "zu_observe: no parser in it\n"), 2;
  mallopt(M_PERTURB, 0x3C);             // memory that the library forgets to fill looks the same each time
  mallopt(M_MMAP_THRESHOLD, 32 << 20);  // large blocks are used again: most of the time would go into new pages
  mallopt(M_TRIM_THRESHOLD, 256 << 20);
  const rlimit noCore = {0, 0};
  setrlimit(RLIMIT_CORE, &noCore);
  ObserveAll(ListFiles(first + 1, argv + argc), g_full ? argv[2] : "", g_full ? argv[3] : "");
}
