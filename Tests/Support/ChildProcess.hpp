#pragma once

#include "Oxa/System/Commons/Types.hpp"

#include <sys/types.h>

#include <chrono>
#include <string_view>
#include <vector>

namespace Oxa::Tests::Support
{

/// A program that a test starts and watches. Waiting has a deadline, after which it throws.
class ChildProcess final
{
public:
    static constexpr std::chrono::seconds deadline{20};

    /// `arguments`: the program's path and what follows. `input` is what it reads. `handedOver`: becomes its
    /// descriptor 3.
    explicit ChildProcess(const std::vector<BasicString>& arguments, std::string_view input = {}, int handedOver = -1);
    ChildProcess(const ChildProcess&) = delete;
    ChildProcess& operator=(const ChildProcess&) = delete;

    /// Kills it when it has not ended.
    ~ChildProcess();

    /// Reads standard output until a line starts with `prefix`; returns what follows it in that line. Throws when the
    /// output ends before.
    [[nodiscard]] BasicString WaitForLine(std::string_view prefix);

    void SendSignal(int number) const;

    /// The exit status, or minus the number of the signal that ended it. Reads the outputs to their ends.
    int Wait();

    [[nodiscard]] const BasicString& GetOutput() const noexcept
    {
        return output.text;
    }

    /// What was written to standard error so far; complete after `Wait`.
    [[nodiscard]] const BasicString& GetErrors();

    [[nodiscard]] pid_t GetNumber() const noexcept
    {
        return number;
    }

private:
    struct Stream
    {
        int descriptor = -1;
        BasicString text;
    };

    /// False when nothing came within `timeout`; a stream that has ended gets the descriptor -1.
    bool ReadSome(std::chrono::milliseconds timeout);
    static void Read(Stream& stream);

    Stream output;
    Stream errors;
    pid_t number = -1;
};

} // namespace Oxa::Tests::Support
