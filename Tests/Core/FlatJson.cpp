#include "Core/FlatJson.h"

#include "Core/Utf8.h"

#include <cstdint>
#include <stdexcept>

namespace nocta {
namespace {

class Reader {
  public:
    explicit Reader(std::string_view text) : rest(text) {}

    std::map<std::string, std::string> object() {
        std::map<std::string, std::string> members;
        expect('{');
        if (!skip('}')) {
            do {
                auto key = string();
                expect(':');
                if (!members.emplace(std::move(key), string()).second) {
                    throw std::runtime_error("member twice");
                }
            } while (skip(','));
            expect('}');
        }
        if (!rest.empty()) {
            throw std::runtime_error("something after the object");
        }
        return members;
    }

  private:
    char take() {
        if (rest.empty()) {
            throw std::runtime_error("end of text");
        }
        const char character = rest.front();
        rest.remove_prefix(1);
        return character;
    }

    bool skip(char character) {
        const bool isNext = !rest.empty() && rest.front() == character;
        rest.remove_prefix(isNext ? 1 : 0);
        return isNext;
    }

    void expect(char character) {
        if (take() != character) {
            throw std::runtime_error("another character");
        }
    }

    std::uint32_t fourDigits() {
        const std::string digits{take(), take(), take(), take()};
        std::size_t length = 0;
        const auto value = static_cast<std::uint32_t>(std::stoul(digits, &length, 16));
        if (length != digits.size()) {
            throw std::runtime_error("no hexadecimal number");
        }
        return value;
    }

    std::string escaped() {
        switch (const char kind = take()) {
        case 'b':
            return "\b";
        case 'f':
            return "\f";
        case 'n':
            return "\n";
        case 'r':
            return "\r";
        case 't':
            return "\t";
        case '"':
        case '\\':
        case '/':
            return {kind};
        case 'u': {
            std::uint32_t unit = fourDigits();
            if (unit >= 0xD800 && unit < 0xDC00) {
                expect('\\');
                expect('u');
                unit = 0x10000 + ((unit - 0xD800) << 10U) + (fourDigits() - 0xDC00);
            }
            return utf8(unit);
        }
        default:
            throw std::runtime_error("unknown escape");
        }
    }

    std::string string() {
        std::string value;
        expect('"');
        while (!skip('"')) {
            const char character = take();
            if (static_cast<unsigned char>(character) < 0x20) {
                throw std::runtime_error("bare control character");
            }
            value += character == '\\' ? escaped() : std::string{character};
        }
        return value;
    }

    std::string_view rest;
};

} // namespace

std::optional<std::map<std::string, std::string>> decodeFlatJson(std::string_view text) {
    try {
        return Reader(text).object();
    } catch (const std::exception&) {
        return std::nullopt;
    }
}

} // namespace nocta
