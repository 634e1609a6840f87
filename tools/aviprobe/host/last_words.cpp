#include "tools/aviprobe/host/last_words.h"

#include <stdio_ext.h>
#include <unistd.h>

#include <algorithm>
#include <array>
#include <cerrno>
#include <csignal>
#include <cstdio>

namespace {

// Where a signal handler can reach them.
std::array<char, 1 << 16> g_Output;
std::array<char, 1 << 10> g_Note;
bool g_bBuffered = false;
volatile std::sig_atomic_t g_nNote = 0;
volatile std::sig_atomic_t g_nNoteFd = -1;
std::array<char, 1 << 16> g_Stack;  // a crash may be the normal one's overflow

constexpr int kDeadly[] = {SIGABRT, SIGSEGV, SIGBUS, SIGFPE, SIGILL, SIGTERM, SIGINT, SIGHUP, SIGXCPU};

void WriteAll(int fd, const char* bytes, size_t left) {
  while (left > 0) {
    const ssize_t count = write(fd, bytes, left);
    if (count < 0 && errno == EINTR) continue;
    if (count <= 0) return;
    bytes += count;
    left -= static_cast<size_t>(count);
  }
}

// Only writes and looks at two pointers of the stream: flushing it could wait for ever for what was interrupted.
void SayLastWords(int signal) {
  if (g_bBuffered) WriteAll(STDOUT_FILENO, g_Output.data(), std::min(__fpending(stdout), g_Output.size()));
  if (g_nNoteFd >= 0) WriteAll(g_nNoteFd, g_Note.data(), static_cast<size_t>(g_nNote));
  // The action is the default one again. A fault would come again by itself, abort and a sent signal not.
  raise(signal);
}

}  // namespace

void BufferStdout() { g_bBuffered = std::setvbuf(stdout, g_Output.data(), _IOFBF, g_Output.size()) == 0; }

void InstallLastWords(int noteFd) {
  g_nNoteFd = noteFd;
  stack_t stack{};
  stack.ss_sp = g_Stack.data();
  stack.ss_size = g_Stack.size();
  sigaltstack(&stack, nullptr);
  for (const int signal : kDeadly) {
    struct sigaction before {};
    if (sigaction(signal, nullptr, &before) != 0 || before.sa_handler != SIG_DFL) continue;
    struct sigaction action {};
    action.sa_handler = SayLastWords;
    action.sa_flags = static_cast<int>(SA_RESETHAND | SA_ONSTACK);
    sigaction(signal, &action, nullptr);
  }
}

void SetLastNote(std::string_view note) {
  if (note.size() > g_Note.size()) note = {};
  g_nNote = 0;  // a signal in between finds none
  std::copy(note.begin(), note.end(), g_Note.begin());
  g_nNote = static_cast<std::sig_atomic_t>(note.size());
}
