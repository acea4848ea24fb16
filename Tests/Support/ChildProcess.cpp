#include "Support/ChildProcess.hpp"

#include <fcntl.h>
#include <poll.h>
#include <sys/wait.h>
#include <unistd.h>

#include <array>
#include <csignal>
#include <stdexcept>

namespace Oxa::Tests::Support
{

namespace
{

std::array<int, 2> MakePipe()
{
    std::array<int, 2> ends = {};
    if (pipe2(ends.data(), O_CLOEXEC) != 0)
    {
        throw std::runtime_error("cannot make a pipe");
    }
    return ends;
}

} // namespace

ChildProcess::ChildProcess(const std::vector<BasicString>& arguments, std::string_view inputText, int handedOver)
{
    std::vector<char*> pointers;
    for (const BasicString& argument : arguments)
    {
        pointers.push_back(const_cast<char*>(argument.c_str()));
    }
    pointers.push_back(nullptr);
    const auto input = MakePipe();
    const auto out = MakePipe();
    const auto err = MakePipe();
    number = fork();
    if (number == 0)
    {
        dup2(input[0], STDIN_FILENO);
        dup2(out[1], STDOUT_FILENO);
        dup2(err[1], STDERR_FILENO);
        // What is 3 already would be closed.
        handedOver == 3 ? fcntl(handedOver, F_SETFD, 0) : dup2(handedOver, 3);
        execv(pointers.front(), pointers.data());
        _exit(127);
    }
    close(input[0]);
    close(out[1]);
    close(err[1]);
    // Small enough for the pipe's buffer.
    const bool isWritten =
        write(input[1], inputText.data(), inputText.size()) == static_cast<ssize_t>(inputText.size());
    close(input[1]);
    output.descriptor = out[0];
    errors.descriptor = err[0];
    if (!isWritten || number < 0)
    {
        throw std::runtime_error("cannot start a child process");
    }
}

ChildProcess::~ChildProcess()
{
    if (number > 0)
    {
        kill(number, SIGKILL);
        waitpid(number, nullptr, 0);
    }
    for (const Stream* stream : {&output, &errors})
    {
        if (stream->descriptor >= 0)
        {
            close(stream->descriptor);
        }
    }
}

void ChildProcess::Read(Stream& stream)
{
    std::array<char, 4096> buffer;
    const ssize_t count = read(stream.descriptor, buffer.data(), buffer.size());
    if (count > 0)
    {
        stream.text.append(buffer.data(), static_cast<std::size_t>(count));
        return;
    }
    close(stream.descriptor);
    stream.descriptor = -1;
}

bool ChildProcess::ReadSome(std::chrono::milliseconds timeout)
{
    std::array<pollfd, 2> polled = {{{output.descriptor, POLLIN, 0}, {errors.descriptor, POLLIN, 0}}};
    if (poll(polled.data(), polled.size(), static_cast<int>(timeout.count())) <= 0)
    {
        return false;
    }
    if (polled[0].revents != 0)
    {
        Read(output);
    }
    if (polled[1].revents != 0)
    {
        Read(errors);
    }
    return true;
}

BasicString ChildProcess::WaitForLine(std::string_view prefix)
{
    const BasicString wanted = '\n' + BasicString(prefix);
    while (true)
    {
        const BasicString text = '\n' + output.text;
        const std::size_t start = text.find(wanted);
        const std::size_t end = start == BasicString::npos ? start : text.find('\n', start + 1);
        if (end != BasicString::npos)
        {
            return text.substr(start + wanted.size(), end - start - wanted.size());
        }
        if (output.descriptor < 0 || !ReadSome(deadline))
        {
            throw std::runtime_error("no line '" + BasicString(prefix) + "' in: " + output.text + errors.text);
        }
    }
}

void ChildProcess::SendSignal(int signalNumber) const
{
    kill(number, signalNumber);
}

const BasicString& ChildProcess::GetErrors()
{
    while (errors.descriptor >= 0 && ReadSome(std::chrono::milliseconds(0)))
    {
    }
    return errors.text;
}

int ChildProcess::Wait()
{
    while (output.descriptor >= 0 || errors.descriptor >= 0)
    {
        if (!ReadSome(deadline))
        {
            throw std::runtime_error("the child process does not end: " + output.text + errors.text);
        }
    }
    int status = 0;
    waitpid(number, &status, 0);
    number = -1;
    return WIFEXITED(status) ? WEXITSTATUS(status) : -WTERMSIG(status);
}

} // namespace Oxa::Tests::Support
