#include <poll.h>
#include <sys/signalfd.h>
#include <unistd.h>

#include <array>
#include <csignal>
#include <iostream>
#include <optional>

#include "agent/Command/Commands.h"
#include "agent/Process/ExitStatus.h"
#include "agent/Process/Output.h"
#include "agent/Server/Questions.h"
#include "agent/Server/RunningConfiguration.h"
#include "agent/Server/Watch.h"

namespace Agent {
namespace {

// The signals that it waits for, as something to poll.
class Signals {
 public:
  Signals() {
    sigset_t wanted;
    sigemptyset(&wanted);
    for (const int number : {SIGHUP, SIGINT, SIGTERM}) sigaddset(&wanted, number);
    sigprocmask(SIG_BLOCK, &wanted, nullptr);
    descriptor_ = signalfd(-1, &wanted, SFD_CLOEXEC | SFD_NONBLOCK);
  }
  ~Signals() { ::close(descriptor_); }
  Signals(const Signals&) = delete;
  Signals& operator=(const Signals&) = delete;

  int descriptor() const noexcept { return descriptor_; }
  // The next one; 0 for none.
  int next() const {
    signalfd_siginfo info{};
    return ::read(descriptor_, &info, sizeof(info)) == sizeof(info)
               ? static_cast<int>(info.ssi_signo)
               : 0;
  }

 private:
  int descriptor_;
};

int run(const CommonOptions& options, const Arguments& given) {
  const std::vector<std::string>& files = given.texts("FILE");
  const std::string path = socketPath(given.text("--socket"));
  const Signals signals;  // before the files are read: none is missed
  std::string why;
  const Listener listener(path, why);
  if (listener.descriptor() < 0) return fail(unreachable, why);
  std::optional<FileWatch> changes;
  if (given.flag("--watch")) changes.emplace(files, why);
  if (!why.empty()) return fail(unreachable, why);
  RunningConfiguration running(files, options);
  if (const int status = running.begin(); status != done) return status;
  std::cerr << "fwagent: ready at " + path + "\n" << std::flush;

  constexpr int settleMilliseconds = 20;  // several files of one change are one commit
  bool isChanged = false;
  while (true) {
    std::array<pollfd, 3> waited{{{signals.descriptor(), POLLIN, 0},
                                  {listener.descriptor(), POLLIN, 0},
                                  {changes ? changes->descriptor() : -1, POLLIN, 0}}};
    const int ready = ::poll(waited.data(), waited.size(), isChanged ? settleMilliseconds : -1);
    if (ready == 0 && isChanged) {
      isChanged = false;
      running.commit();
    }
    if (ready <= 0) continue;
    if (changes && waited[2].revents != 0) isChanged = changes->changed() || isChanged;
    for (int number = signals.next(); number != 0; number = signals.next()) {
      if (number != SIGHUP) return done;
      running.commit();
    }
    if (waited[1].revents != 0) {
      listener.answer([&running](const Words& words) { return answerTo(running, words); });
    }
  }
}

}  // namespace

Command runCommand() {
  return {.name = "run",
          .summary = "stays up: commits the files again at SIGHUP, ends at SIGTERM",
          .example = "run --watch examples/campus",
          .options = {filesArgument(), Option::flag("--watch", "commit whenever a file changes"),
                      socketOption()},
          .run = run};
}

}  // namespace Agent
