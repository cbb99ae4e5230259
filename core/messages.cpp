// The catalogue of messages, and the service that prints them.
//
// Numbers are written in their shortest form that reads back as the same double, with a decimal point
// whatever the locale is.

#include "core/messages.hpp"

#include <cerrno>
#include <charconv>
#include <cstdarg>
#include <cstdio>
#include <cstring>

#include "ozk_core.h"

namespace {

enum class Arguments { kName, kNameIndex, kIndexValue };

struct Message {
    int number;
    Arguments arguments;
    const char* text;
};

constexpr Message kCatalogue[] = {
    {748, Arguments::kNameIndex, "bad size argument"},
    {749, Arguments::kName, "bad memory argument"},
    {750, Arguments::kName, "argument outside the domain"},
    {751, Arguments::kName, "singularity"},
    {752, Arguments::kName, "overflow"},
    {753, Arguments::kName, "underflow"},
    {754, Arguments::kName, "unclassified error"},
    {755, Arguments::kIndexValue, "argument"},
    {756, Arguments::kIndexValue, "result"},
    {757, Arguments::kIndexValue, "argument"},
    {758, Arguments::kIndexValue, "first result"},
    {759, Arguments::kIndexValue, "second result"},
    {760, Arguments::kIndexValue, "first argument"},
    {761, Arguments::kIndexValue, "second argument"},
    {762, Arguments::kIndexValue, "result"},
    {763, Arguments::kIndexValue, "first argument"},
    {764, Arguments::kIndexValue, "second argument"},
    {765, Arguments::kIndexValue, "first result"},
    {766, Arguments::kIndexValue, "second result"},
};

constexpr int kStandardError = 1;

constexpr int argument_count(Arguments arguments) { return arguments == Arguments::kName ? 1 : 2; }

const Message* find_message(int number) {
    for (const Message& message : kCatalogue) {
        if (message.number == number) return &message;
    }
    return nullptr;
}

const char* name_or_placeholder(const char* name) { return name == nullptr ? "(unnamed)" : name; }

struct Decimal {
    char text[32];  // the longest shortest form, -1.2345678901234567e-308, has 24 characters

    explicit Decimal(double value) { *std::to_chars(text, text + sizeof text - 1, value).ptr = '\0'; }
};

}  // namespace

void ozk::core::write_line(std::string_view line) {
    const int saved_errno = errno;
    std::fwrite(line.data(), 1, line.size(), stderr);
    errno = saved_errno;
}

void ozk_serv_print(int channel, int message, int argc, ...) {
    const Message* const entry = find_message(message);
    if (channel != kStandardError || entry == nullptr || argc != argument_count(entry->arguments)) return;

    constexpr int kLongestName = 64;
    char line[160];  // a name, an index, a decimal and the longest text fit
    int length = 0;
    std::va_list arguments;
    va_start(arguments, argc);
    switch (entry->arguments) {
        case Arguments::kName: {
            const char* const name = name_or_placeholder(va_arg(arguments, const char*));
            length = std::snprintf(line, sizeof line, "ozk: %.*s: %s\n", kLongestName, name, entry->text);
            break;
        }
        case Arguments::kNameIndex: {
            const char* const name = name_or_placeholder(va_arg(arguments, const char*));
            const int index = va_arg(arguments, int);
            length = std::snprintf(line, sizeof line, "ozk: %.*s: %s, index %d\n", kLongestName, name,
                                   entry->text, index);
            break;
        }
        case Arguments::kIndexValue: {
            const int index = va_arg(arguments, int);
            const Decimal value(va_arg(arguments, double));
            length =
                std::snprintf(line, sizeof line, "ozk:   index %d: %s %s\n", index, entry->text, value.text);
            break;
        }
    }
    va_end(arguments);
    if (length > 0) ozk::core::write_line({line, static_cast<size_t>(length)});
}
