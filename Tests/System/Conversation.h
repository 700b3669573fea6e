#pragma once

#include "Support/Eventually.h"
#include "Support/Process.h"
#include "Support/ScreenPicture.h"

#include <chrono>
#include <memory>
#include <optional>
#include <sstream>
#include <stdexcept>
#include <string>

namespace nocta::test {

/// A running driven-nocta, and what it answers.
class Conversation {
  protected:
    Conversation() = default;
    ~Conversation() = default;

    /// Its answer, a line, to a command that has one.
    [[nodiscard]] std::string ask(const std::string& question) const {
        if (!nocta->isRunning()) {
            throw std::runtime_error("Nocta has ended, by signal " + std::to_string(nocta->waitForEnd()->signal));
        }
        const auto before = nocta->errors().size();
        nocta->write(question + "\n");
        std::string answer;
        const auto isAnswered = [&] {
            answer = nocta->errors().substr(before);
            return answer.find('\n') != std::string::npos;
        };
        if (!test::eventually(isAnswered, std::chrono::seconds(30))) {
            throw std::runtime_error("Nocta does not answer: " + question);
        }
        return answer.substr(0, answer.find('\n'));
    }

    /// Where what bears that name is, on the screen, or in its window where programs know no more; nothing while no
    /// window shows it.
    [[nodiscard]] std::optional<Point> place(const std::string& name) const {
        std::istringstream words(ask("where " + name));
        Point point;
        return words >> point.x >> point.y ? std::optional(point) : std::nullopt;
    }

    std::unique_ptr<Process> nocta; ///< driven-nocta
};

} // namespace nocta::test
