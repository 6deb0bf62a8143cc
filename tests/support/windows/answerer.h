// Sits in front of the screen: watches for the program's windows and message boxes, in
// whatever process, writes down what they show, and answers them.
#pragma once

#include <string>
#include <vector>

namespace support {

// The answers to the next questions; forgets what was shown.
void AnswerOnScreen(const std::vector<std::string>& answers);
std::vector<std::string> ShownOnScreen();

// Questions wait for their answers from now on, or no longer; whether one does.
void HoldQuestions(bool hold);
bool IsQuestionHeld();

}  // namespace support
