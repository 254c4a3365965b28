#include "tests/agent/Program.h"

#include <fcntl.h>
#include <poll.h>
#include <pty.h>
#include <signal.h>
#include <spawn.h>
#include <sys/wait.h>
#include <unistd.h>

#include <array>
#include <cstdio>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <stdexcept>
#include <string_view>
#include <utility>

namespace TestAgent {
namespace {

struct Pipe {
  Pipe() {
    if (pipe2(ends.data(), O_CLOEXEC) != 0) throw std::runtime_error("pipe");
  }
  std::array<int, 2> ends{};
};

int start(const std::string& program, const std::vector<std::string>& arguments,
          const std::vector<std::string>& environment, int out, int err) {
  std::vector<std::string> words{program};
  words.insert(words.end(), arguments.begin(), arguments.end());
  std::vector<std::string> settings = environment;  // the first of a name counts
  settings.insert(settings.end(), {"COLUMNS=80", "PATH=/usr/bin:/bin"});
  if (const char* const options = std::getenv("ASAN_OPTIONS")) {
    settings.push_back(std::string("ASAN_OPTIONS=") + options);
  }
  const auto pointers = [](std::vector<std::string>& texts) {
    std::vector<char*> result;
    for (std::string& text : texts) result.push_back(text.data());
    result.push_back(nullptr);
    return result;
  };
  posix_spawn_file_actions_t actions;
  posix_spawn_file_actions_init(&actions);
  posix_spawn_file_actions_addopen(&actions, 0, "/dev/null", O_RDONLY, 0);
  posix_spawn_file_actions_adddup2(&actions, out, 1);
  posix_spawn_file_actions_adddup2(&actions, err, 2);
  pid_t id = -1;
  const int failed = posix_spawn(&id, program.c_str(), &actions, nullptr, pointers(words).data(),
                                 pointers(settings).data());
  posix_spawn_file_actions_destroy(&actions);
  if (failed != 0) throw std::runtime_error("cannot start " + program);
  return id;
}

int statusOf(int id) {
  int status = 0;
  waitpid(id, &status, 0);
  return WIFSIGNALED(status) ? 128 + WTERMSIG(status) : WEXITSTATUS(status);
}

}  // namespace

Folder::Folder() {
  std::string name = (std::filesystem::temp_directory_path() / "fwagent-XXXXXX").string();
  if (mkdtemp(name.data()) == nullptr) throw std::runtime_error("mkdtemp");
  path_ = name;
}

Folder::~Folder() {
  std::error_code ignored;
  std::filesystem::remove_all(path_, ignored);
}

std::string Folder::file(const std::string& name, const std::string& content) const {
  const std::string path = path_ + "/" + name;
  std::filesystem::create_directories(std::filesystem::path(path).parent_path());
  std::ofstream(path + ".new", std::ios::binary) << content;
  std::filesystem::rename(path + ".new", path);
  return path;
}

std::string Folder::without(std::string text) const {
  const std::string prefix = path_ + "/";
  for (std::size_t at = text.find(prefix); at != std::string::npos; at = text.find(prefix)) {
    text.erase(at, prefix.size());
  }
  return text;
}

Result run(const std::vector<std::string>& arguments, const std::vector<std::string>& environment) {
  return runProgram(FWAGENT_PROGRAM, arguments, environment);
}

Result runProgram(const std::string& program, const std::vector<std::string>& arguments,
                  const std::vector<std::string>& environment) {
  Pipe out;
  Pipe err;
  const int id = start(program, arguments, environment, out.ends[1], err.ends[1]);
  close(out.ends[1]);
  close(err.ends[1]);
  Result result{};
  std::array<pollfd, 2> files{{{out.ends[0], POLLIN, 0}, {err.ends[0], POLLIN, 0}}};
  for (int open = 2; open > 0;) {
    poll(files.data(), files.size(), -1);
    for (pollfd& file : files) {
      if (file.fd < 0 || file.revents == 0) continue;
      std::array<char, 65536> bytes{};
      const ssize_t got = read(file.fd, bytes.data(), bytes.size());
      if (got > 0) {
        (&file == files.data() ? result.out : result.err)
            .append(bytes.data(), static_cast<std::size_t>(got));
      } else {
        close(std::exchange(file.fd, -1));
        --open;
      }
    }
  }
  result.status = statusOf(id);
  return result;
}

Result runOnTerminal(const std::vector<std::string>& arguments, unsigned short columns,
                     const std::vector<std::string>& environment) {
  int ours = -1;
  int its = -1;
  const winsize size{24, columns, 0, 0};
  if (openpty(&ours, &its, nullptr, nullptr, &size) != 0) throw std::runtime_error("openpty");
  fcntl(ours, F_SETFD, FD_CLOEXEC);
  fcntl(its, F_SETFD, FD_CLOEXEC);
  std::vector<std::string> settings = environment;
  settings.emplace_back("COLUMNS=");
  const int id = start(FWAGENT_PROGRAM, arguments, settings, its, its);
  close(its);
  Result result{};
  std::array<char, 4096> bytes{};
  for (ssize_t got = 0; (got = read(ours, bytes.data(), bytes.size())) > 0;) {
    for (const char character : std::string_view(bytes.data(), static_cast<std::size_t>(got))) {
      if (character != '\r') result.out.push_back(character);
    }
  }
  close(ours);
  result.status = statusOf(id);
  return result;
}

Running::Running(const std::vector<std::string>& arguments) {
  Pipe err;
  const int null = open("/dev/null", O_WRONLY | O_CLOEXEC);
  id_ = start(FWAGENT_PROGRAM, arguments, {}, null, err.ends[1]);
  close(null);
  close(err.ends[1]);
  err_ = err.ends[0];
}

Running::~Running() {
  if (id_ > 0) {
    kill(id_, SIGKILL);
    statusOf(id_);
  }
  close(err_);
}

std::string Running::waitFor(const std::string& text) {
  std::size_t line = 0;
  while (true) {
    const std::size_t end = read_.find('\n', line);
    if (end != std::string::npos) {
      const std::string one = read_.substr(line, end - line);
      line = end + 1;
      if (one.find(text) == std::string::npos) continue;
      read_.erase(0, line);
      return one;
    }
    std::array<char, 4096> bytes{};
    const ssize_t got = read(err_, bytes.data(), bytes.size());
    if (got <= 0) return "ended without \"" + text + "\":\n" + read_;
    read_.append(bytes.data(), static_cast<std::size_t>(got));
  }
}

void Running::signal(int number) const { kill(id_, number); }

int Running::wait() { return statusOf(std::exchange(id_, -1)); }

std::string contentOf(const std::string& file) {
  std::ifstream in(file, std::ios::binary);
  return {std::istreambuf_iterator<char>(in), {}};
}

}  // namespace TestAgent
