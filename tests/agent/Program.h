// The program fwagent as a whole process, and files for it.
//
//   Folder folder;
//   const std::string file = folder.file("a.yaml", "app: {web: {proto: [tcp]}}\n");
//   const Result result = run({"check", file});
//   EXPECT_EQ(result.status, 0);
//
// run() gives the folder's name no part in outputs: withoutFolder() removes it.
#pragma once

#include <string>
#include <vector>

namespace TestAgent {

struct Result {
  int status;  // 128 and the signal when one ended it
  std::string out;
  std::string err;
};

// A folder of its own, removed with all that is in it.
class Folder {
 public:
  Folder();
  ~Folder();
  Folder(const Folder&) = delete;
  Folder& operator=(const Folder&) = delete;

  const std::string& path() const { return path_; }
  // Writes the file, in place of the one that was there; the way of an editor, by renaming.
  std::string file(const std::string& name, const std::string& content) const;
  std::string without(std::string text) const;

 private:
  std::string path_;
};

// Runs it to its end. Its terminal is 80 columns wide unless the environment says otherwise.
Result run(const std::vector<std::string>& arguments,
           const std::vector<std::string>& environment = {});
// The same on a terminal of that width, which COLUMNS does not hide; `out` has what both streams
// show there.
Result runOnTerminal(const std::vector<std::string>& arguments, unsigned short columns,
                     const std::vector<std::string>& environment = {});
Result runProgram(const std::string& program, const std::vector<std::string>& arguments,
                  const std::vector<std::string>& environment = {});

// A running one. Its standard error is read as it comes.
class Running {
 public:
  explicit Running(const std::vector<std::string>& arguments);
  ~Running();
  Running(const Running&) = delete;
  Running& operator=(const Running&) = delete;

  int id() const { return id_; }
  // Waits for a line of standard error that holds the text; the line, or what was read when the
  // program ended without it.
  std::string waitFor(const std::string& text);
  void signal(int number) const;
  // Waits for its end; the status as in Result.
  int wait();

 private:
  int id_ = -1;
  int err_ = -1;
  std::string read_;
};

std::string contentOf(const std::string& file);

}  // namespace TestAgent
