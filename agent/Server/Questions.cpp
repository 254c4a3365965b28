#include "agent/Server/Questions.h"

#include <algorithm>
#include <sstream>

#include "agent/Process/ExitStatus.h"
#include "framework/Pith/RangeException.h"

namespace Agent {
namespace {

Words wordsOf(const std::string& name) {
  Words words;
  std::istringstream text(name);
  for (std::string word; text >> word;) words.push_back(word);
  return words;
}

bool takes(const Question& question, std::size_t count) {
  if (!question.argument) return count == 0;
  return question.argument->least <= count && count <= question.argument->most;
}

}  // namespace

const std::vector<Question>& questions() {
#define FWAGENT_QUESTION(name) name##Question(),
  static const std::vector<Question> all{FWAGENT_QUESTIONS(FWAGENT_QUESTION)};
#undef FWAGENT_QUESTION
  return all;
}

Answer answerTo(RunningConfiguration& running, const Words& words) {
  const Question* asked = nullptr;
  std::size_t named = 0;
  for (const Question& question : questions()) {
    const Words name = wordsOf(question.name);
    const bool isNamed =
        name.size() <= words.size() && std::equal(name.begin(), name.end(), words.begin());
    if (!isNamed || name.size() <= named) continue;
    asked = &question;
    named = name.size();
  }
  if (asked == nullptr || !takes(*asked, words.size() - named)) {
    return {refused, "the agent does not know this question\n"};
  }
  try {
    return asked->answer(running,
                         {words.begin() + static_cast<std::ptrdiff_t>(named), words.end()});
  } catch (const Pith::RangeException& error) {
    return {refused, std::string(error.what()) + "\n"};
  }
}

}  // namespace Agent
