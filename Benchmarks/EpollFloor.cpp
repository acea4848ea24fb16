// The floor of the end-to-end measurement: an epoll loop on loopback that sends as many bytes as the server for every
// request, after the same reads of files that are kept open. Of HTTP it only detects the end of a request.
//
//     EpollFloor RESPONSE_BYTES STATVFS_PATH FILE…      prints its port

#include <arpa/inet.h>
#include <fcntl.h>
#include <netinet/in.h>
#include <netinet/tcp.h>
#include <sys/epoll.h>
#include <sys/socket.h>
#include <sys/statvfs.h>
#include <unistd.h>

#include <array>
#include <charconv>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <ctime>
#include <string>
#include <string_view>
#include <vector>

namespace
{

struct Machine
{
    void ReadAll() const
    {
        std::array<char, 4096> buffer;
        for (const int file : files)
        {
            if (pread(file, buffer.data(), buffer.size(), 0) < 0)
            {
                std::abort();
            }
        }
        struct statvfs partition = {};
        statvfs(partitionPath, &partition);
        timespec time = {};
        clock_gettime(CLOCK_BOOTTIME, &time);
        clock_gettime(CLOCK_REALTIME, &time);
    }

    std::vector<int> files;
    const char* partitionPath = "/";
};

int Listen()
{
    const int listener = socket(AF_INET, SOCK_STREAM | SOCK_CLOEXEC, 0);
    sockaddr_in address = {};
    address.sin_family = AF_INET;
    address.sin_addr.s_addr = htonl(INADDR_LOOPBACK);
    socklen_t length = sizeof address;
    auto* const generic = reinterpret_cast<sockaddr*>(&address);
    if (bind(listener, generic, length) != 0 || listen(listener, SOMAXCONN) != 0 ||
        getsockname(listener, generic, &length) != 0)
    {
        std::perror("EpollFloor");
        std::exit(EXIT_FAILURE);
    }
    std::printf("%d\n", ntohs(address.sin_port));
    std::fflush(stdout);
    return listener;
}

void Watch(int epoll, int descriptor)
{
    epoll_event event = {};
    event.events = EPOLLIN;
    event.data.fd = descriptor;
    epoll_ctl(epoll, EPOLL_CTL_ADD, descriptor, &event);
}

/// False when the connection has ended.
bool Respond(int connection, const Machine& machine, const std::string& response)
{
    std::array<char, 4096> request;
    const ssize_t length = read(connection, request.data(), request.size());
    if (length <= 0)
    {
        return false;
    }
    if (!std::string_view(request.data(), static_cast<std::size_t>(length)).ends_with("\r\n\r\n"))
    {
        return true;
    }
    machine.ReadAll();
    return write(connection, response.data(), response.size()) == static_cast<ssize_t>(response.size());
}

std::string MakeResponse(std::size_t totalBytes)
{
    std::string response;
    for (std::size_t bodyBytes = totalBytes; bodyBytes > 0; --bodyBytes)
    {
        response = "HTTP/1.1 200 OK\r\nContent-Length: " + std::to_string(bodyBytes) + "\r\n\r\n";
        if (response.size() + bodyBytes <= totalBytes)
        {
            return response.append(bodyBytes, 'x');
        }
    }
    return response;
}

void Serve(int listener, const Machine& machine, const std::string& response)
{
    const int epoll = epoll_create1(EPOLL_CLOEXEC);
    Watch(epoll, listener);
    std::array<epoll_event, 64> events;
    while (true)
    {
        const int count = epoll_wait(epoll, events.data(), static_cast<int>(events.size()), -1);
        for (int index = 0; index < count; ++index)
        {
            const int descriptor = events.at(static_cast<std::size_t>(index)).data.fd;
            if (descriptor == listener)
            {
                const int connection = accept4(listener, nullptr, nullptr, SOCK_CLOEXEC);
                const int enabled = 1;
                setsockopt(connection, IPPROTO_TCP, TCP_NODELAY, &enabled, sizeof enabled);
                Watch(epoll, connection);
            }
            else if (!Respond(descriptor, machine, response))
            {
                close(descriptor);
            }
        }
    }
}

} // namespace

int main(int argc, char** argv)
{
    std::size_t responseBytes = 0;
    if (argc < 3 || std::from_chars(argv[1], argv[1] + std::strlen(argv[1]), responseBytes).ec != std::errc())
    {
        std::fputs("usage: EpollFloor RESPONSE_BYTES STATVFS_PATH FILE…\n", stderr);
        return EXIT_FAILURE;
    }
    Machine machine;
    machine.partitionPath = argv[2];
    for (int index = 3; index < argc; ++index)
    {
        machine.files.push_back(open(argv[index], O_RDONLY | O_CLOEXEC));
        if (machine.files.back() < 0)
        {
            std::perror(argv[index]);
            return EXIT_FAILURE;
        }
    }
    Serve(Listen(), machine, MakeResponse(responseBytes));
}
