#include <poll.h>
#include <sys/signalfd.h>
#include <unistd.h>

#include <array>
#include <csignal>
#include <iostream>
#include <optional>

#include "agent/Command/Commands.h"
#include "agent/Server/Agent.h"
#include "agent/Server/Watch.h"

namespace Agent {
namespace {

// The signals that the agent waits for, as something to poll.
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

std::string socketPathOf(const CommonOptions& options) {
  return options.socket.empty() ? defaultSocketPath() : options.socket;
}

}  // namespace

int runCommand(const CommonOptions& options, const Files& files, bool watch) {
  const Signals signals;  // before the files are read: none is missed
  std::string why;
  const Listener listener(socketPathOf(options), why);
  if (listener.descriptor() < 0) return fail(unreachable, why);
  std::optional<FileWatch> changes;
  if (watch) changes.emplace(files, why);
  if (!why.empty()) return fail(unreachable, why);
  RunningAgent agent(files, options);
  if (const int status = agent.begin(); status != done) return status;
  std::cerr << "fwagent: ready at " + socketPathOf(options) + "\n" << std::flush;

  constexpr int settleMilliseconds = 20;  // several files of one change are one commit
  bool isChanged = false;
  while (true) {
    std::array<pollfd, 3> files3{{{signals.descriptor(), POLLIN, 0},
                                  {listener.descriptor(), POLLIN, 0},
                                  {changes ? changes->descriptor() : -1, POLLIN, 0}}};
    const int ready = ::poll(files3.data(), files3.size(), isChanged ? settleMilliseconds : -1);
    if (ready == 0 && isChanged) {
      isChanged = false;
      agent.commit();
    }
    if (ready <= 0) continue;
    if (changes && files3[2].revents != 0) isChanged = changes->changed() || isChanged;
    for (int number = signals.next(); number != 0; number = signals.next()) {
      if (number != SIGHUP) return done;
      agent.commit();
    }
    if (files3[1].revents != 0) {
      listener.answer([&agent](const Words& words) { return agent.answer(words); });
    }
  }
}

int askCommand(const CommonOptions& options, const std::vector<std::string>& words) {
  std::string why;
  const auto answer = ask(socketPathOf(options), words, why);
  if (!answer) return fail(unreachable, why);
  if (answer->status == refused) {
    std::cerr << "fwagent: " << answer->text;
    return refused;
  }
  const int written = writeOutput(answer->text, {});
  return written == done ? answer->status : written;
}

}  // namespace Agent
