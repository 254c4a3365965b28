#include "agent/Server/Socket.h"

#include <sys/socket.h>
#include <sys/stat.h>
#include <sys/time.h>
#include <sys/un.h>
#include <unistd.h>

#include <array>
#include <cerrno>
#include <cstdlib>
#include <cstring>
#include <string_view>

namespace Agent {
namespace {

constexpr std::size_t maxQuestionBytes = 65536;

// A socket, or none with the reason in `why`; the address is filled in.
int socketFor(const std::string& path, sockaddr_un& address, std::string& why) {
  address = {};
  address.sun_family = AF_UNIX;
  if (path.size() >= sizeof(address.sun_path)) {
    why = path + ": longer than a socket's path may be";
    return -1;
  }
  std::memcpy(address.sun_path, path.c_str(), path.size() + 1);
  const int descriptor = ::socket(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC, 0);
  if (descriptor < 0) why = std::strerror(errno);
  return descriptor;
}

bool connects(int descriptor, const sockaddr_un& address) {
  return ::connect(descriptor, reinterpret_cast<const sockaddr*>(&address), sizeof(address)) == 0;
}

void limitTime(int descriptor, int seconds) {
  const timeval limit{seconds, 0};
  ::setsockopt(descriptor, SOL_SOCKET, SO_RCVTIMEO, &limit, sizeof(limit));
  ::setsockopt(descriptor, SOL_SOCKET, SO_SNDTIMEO, &limit, sizeof(limit));
}

bool sendAll(int descriptor, std::string_view bytes) {
  while (!bytes.empty()) {
    const ssize_t sent = ::send(descriptor, bytes.data(), bytes.size(), MSG_NOSIGNAL);
    if (sent < 0 && errno == EINTR) continue;
    if (sent <= 0) return false;
    bytes.remove_prefix(static_cast<std::size_t>(sent));
  }
  return true;
}

// Up to the end of what the other side sends; false when it does not come to an end.
bool receiveAll(int descriptor, std::size_t most, std::string& bytes) {
  std::array<char, 65536> part{};
  while (true) {
    const ssize_t got = ::recv(descriptor, part.data(), part.size(), 0);
    if (got == 0) return true;
    if (got < 0 && errno == EINTR) continue;
    if (got < 0) return false;
    bytes.append(part.data(), static_cast<std::size_t>(got));
    if (bytes.size() > most) return false;
  }
}

}  // namespace

std::string socketPath(const std::string& given) {
  if (!given.empty()) return given;
  const char* const folder = std::getenv("XDG_RUNTIME_DIR");
  if (folder != nullptr && *folder != '\0') return std::string(folder) + "/fwagent.sock";
  return "/tmp/fwagent-" + std::to_string(::getuid()) + ".sock";
}

Listener::Listener(std::string path, std::string& why) : path_(std::move(path)) {
  sockaddr_un address{};
  const int probe = socketFor(path_, address, why);
  if (probe < 0) return;
  const bool isTaken = connects(probe, address);
  ::close(probe);
  if (isTaken) {
    why = path_ + ": an agent is running there already";
    return;
  }
  struct stat status {};
  if (::lstat(path_.c_str(), &status) == 0) {
    if (!S_ISSOCK(status.st_mode)) {
      why = path_ + ": is there, and is no socket";
      return;
    }
    ::unlink(path_.c_str());
  }
  const int descriptor = socketFor(path_, address, why);
  if (descriptor < 0) return;
  const mode_t before = ::umask(0177);
  const int bound =
      ::bind(descriptor, reinterpret_cast<const sockaddr*>(&address), sizeof(address));
  ::umask(before);
  if (bound != 0 || ::listen(descriptor, 8) != 0) {
    why = path_ + ": " + std::strerror(errno);
    ::close(descriptor);
    return;
  }
  descriptor_ = descriptor;
}

Listener::~Listener() {
  if (descriptor_ < 0) return;
  ::close(descriptor_);
  ::unlink(path_.c_str());
}

void Listener::answer(const std::function<Answer(const Words&)>& answerOf) const {
  const int connection = ::accept4(descriptor_, nullptr, nullptr, SOCK_CLOEXEC);
  if (connection < 0) return;
  limitTime(connection, 2);
  std::string question;
  if (receiveAll(connection, maxQuestionBytes, question)) {
    Words words;
    for (std::size_t begin = 0, end = 0; (end = question.find('\0', begin)) != std::string::npos;
         begin = end + 1) {
      words.push_back(question.substr(begin, end - begin));
    }
    const Answer answer = answerOf(words);
    sendAll(connection, std::to_string(answer.status) + "\n" + answer.text);
  }
  ::close(connection);
}

std::optional<Answer> askAt(const std::string& path, const Words& words, std::string& why) {
  sockaddr_un address{};
  const int descriptor = socketFor(path, address, why);
  if (descriptor < 0) return std::nullopt;
  std::string question;
  for (const std::string& word : words) question.append(word).push_back('\0');
  std::string bytes;
  const bool isConnected = connects(descriptor, address);
  if (!isConnected) why = path + ": no agent answers: " + std::strerror(errno);
  const bool isAnswered = isConnected && sendAll(descriptor, question) &&
                          ::shutdown(descriptor, SHUT_WR) == 0 &&
                          receiveAll(descriptor, std::size_t{1} << 32U, bytes);
  ::close(descriptor);
  const std::size_t line = bytes.find('\n');
  if (!isAnswered || line == std::string::npos) {
    if (isConnected) why = path + ": the agent gave no answer";
    return std::nullopt;
  }
  return Answer{std::atoi(bytes.c_str()), bytes.substr(line + 1)};
}

}  // namespace Agent
