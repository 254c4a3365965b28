// What the running agent can be asked over its socket.
//
// Each line of the table stands for a function in a file of its own, Question showQuestion() in
// ShowQuestion.cpp. The command that asks it, with its help and its completion, follows from the
// declaration.
#pragma once

#include <optional>
#include <string>
#include <vector>

#include "agent/Process/Option.h"
#include "agent/Server/RunningConfiguration.h"
#include "agent/Server/Socket.h"

#define FWAGENT_QUESTIONS(QUESTION) \
  QUESTION(show)                    \
  QUESTION(stats)                   \
  QUESTION(verify)                  \
  QUESTION(resync)                  \
  QUESTION(traceLevel)

namespace Agent {

struct Question {
  std::string name;  // its first words
  std::string
      summary;  // empty: another question's command asks it too, as "show" does "show stats"
  std::string example;
  std::optional<Option> argument = {};  // takes texts
  // The words are those of the argument. A RangeException is told to who asks.
  Answer (*answer)(RunningConfiguration& running, const Words& words);
};

#define FWAGENT_DECLARE_QUESTION(name) Question name##Question();
FWAGENT_QUESTIONS(FWAGENT_DECLARE_QUESTION)
#undef FWAGENT_DECLARE_QUESTION

const std::vector<Question>& questions();

// By the question whose name is the longest beginning of the words, if it takes so many behind it.
Answer answerTo(RunningConfiguration& running, const Words& words);

}  // namespace Agent
