#pragma once

#include <string_view>

/// Reads blank-separated fields from a line of text, by the rules of the C library's scanf: a field is preceded by any
/// white space; a number is an optional sign and decimal digits, in 64 bits, the nearest bound when it lies outside; a line
/// ends at its first NUL. The first field that is not there ends the reading: every later one fails too.
///
/// It is there for the scan of processes, which reads such lines of every one of them: sscanf takes three times as long for a
/// line of /proc/<pid>/stat (840 against 270 ns). Whatever reads a line or two at a time (partitions, memory, the processors'
/// load) uses sscanf itself, with "%lld" and a cut to 32 bits, which comes to the same figures.
class LineScanner {
public:
    explicit LineScanner(std::string_view line) : m_rest(line.substr(0, line.find('\0'))) {}

    /// As "%ld" reads.
    bool Signed(long& value);
    /// As "%lu" reads: a negative number wraps.
    bool Unsigned(unsigned long& value);
    /// As "%s" reads: up to the next white space. Valid as long as the line is.
    bool Word(std::string_view& word);
    /// As " %c" reads: the next octet that is no white space.
    bool Character(char& character);
    /// Passes over that many numbers.
    bool SkipNumbers(int count);

private:
    /// The magnitude of a number, and whether it has a minus sign; `tooLarge` when 64 bits do not hold it.
    struct Number {
        unsigned long magnitude = 0;
        bool negative = false;
        bool tooLarge = false;
    };

    void SkipBlanks();
    bool Fail();
    bool Digits(Number& number);

    std::string_view m_rest;
};
