// One question and one answer between a command and the running agent, over a Unix socket.
//
//   Listener listener(path, why);                                 // in the agent
//   listener.answer([](const Words& words) { return Answer{done, "..."}; });
//
//   const auto answer = askAt(path, {"show", "stats"}, why);      // in the command
//
// The socket belongs to the user who runs the agent, and nobody else may connect. A question is the
// words, each ended by a byte 0, and the end of what is sent; an answer the status in a line, then
// the text. Whoever sends or reads too slowly is given up after two seconds.
#pragma once

#include <functional>
#include <optional>
#include <string>
#include <vector>

namespace Agent {

using Words = std::vector<std::string>;

struct Answer {
  int status;  // ExitStatus.h; the command exits with it
  std::string text;
};

// Where the agent listens: there, or when that is empty in the user's run-time folder, else in
// /tmp.
std::string socketPath(const std::string& given);

class Listener {
 public:
  // Takes the place of a socket that nobody listens at any more. Not listening, with the reason in
  // `why`, when somebody does or it cannot be made.
  Listener(std::string path, std::string& why);
  ~Listener();
  Listener(const Listener&) = delete;
  Listener& operator=(const Listener&) = delete;

  int descriptor() const noexcept { return descriptor_; }  // readable when a question waits
  void answer(const std::function<Answer(const Words&)>& answerOf) const;

 private:
  std::string path_;
  int descriptor_ = -1;
};

// None, with the reason in `why`, when no agent answers there.
std::optional<Answer> askAt(const std::string& path, const Words& words, std::string& why);

}  // namespace Agent
