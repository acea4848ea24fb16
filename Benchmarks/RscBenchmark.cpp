// Reads of one item and of eleven items through the remote service call layer, compared with sending as many bytes
// between two processes ("ping-pong"). "same core": both processes on core 0; "other core": the service on core 1. The
// services respond from memory.

#include "Benchmarks/MemoryServices.hpp"
#include "Benchmarks/RefreshValues.hpp"
#include "Oxa/System/Rsc/RscServer.hpp"

#include <benchmark/benchmark.h>
#include <fmt/format.h>
#include <sched.h>
#include <sys/prctl.h>
#include <sys/socket.h>
#include <sys/wait.h>
#include <unistd.h>

#include <array>
#include <filesystem>
#include <iterator>
#include <string>

namespace
{

using namespace Oxa::Benchmarks;
using Oxa::BasicString;
using Oxa::Device::Interface::Services::DeviceStatusServiceProxyFactory;
using Oxa::System::Rsc::RscServer;
using Oxa::System::Rsc::ServiceManager;

// Bytes of request and response of these reads, measured with strace.
constexpr std::size_t singleBytes[] = {216, 80};
constexpr std::size_t elevenBytes[] = {608, 240};

void PinToCore(int core)
{
    cpu_set_t cores;
    CPU_ZERO(&cores);
    CPU_SET(static_cast<std::size_t>(core), &cores);
    sched_setaffinity(0, sizeof cores, &cores);
}

/// Starts a process that executes `run` on a core, and waits until it is ready. It ends with this process.
template <class Run>
void StartProcess(int core, const Run& run)
{
    std::array<int, 2> ready = {};
    if (pipe(ready.data()) != 0)
    {
        std::abort();
    }
    const pid_t child = fork();
    if (child == 0)
    {
        prctl(PR_SET_PDEATHSIG, SIGKILL);
        PinToCore(core);
        close(ready[0]);
        run(ready[1]);
        _exit(0);
    }
    close(ready[1]);
    char byte = 0;
    // Returns when the child signals or ends.
    (void)!read(ready[0], &byte, 1);
    close(ready[0]);
}

void SignalReady(int ready)
{
    (void)!write(ready, "r", 1);
}

BasicString GetSocketPath(int core)
{
    static const BasicString folder = std::filesystem::temp_directory_path() / fmt::format("oxa-{}", getpid());
    std::filesystem::create_directory(folder);
    return fmt::format("{}/core{}", folder, core);
}

void Serve(const BasicString& socketPath, int ready)
{
    const ProvidedMemoryServices services;
    Oxa::System::Rsc::RscServerConfiguration configuration;
    configuration.socketPath = socketPath;
    configuration.users = {{std::to_string(getuid()), true}};
    const RscServer server(configuration);
    SignalReady(ready);
    pause();
}

int pingPong[2] = {-1, -1};

void Echo(int descriptor, int ready)
{
    SignalReady(ready);
    std::array<char, 4096> buffer = {};
    while (recv(descriptor, buffer.data(), buffer.size(), 0) > 0)
    {
        // The request begins with the size of the response.
        std::size_t size = 0;
        std::memcpy(&size, buffer.data(), sizeof size);
        (void)!send(descriptor, buffer.data(), size, 0);
    }
}

void StartProcesses()
{
    for (int core = 0; core < 2; ++core)
    {
        const BasicString socketPath = GetSocketPath(core);
        StartProcess(core, [&socketPath](int ready) { Serve(socketPath, ready); });
        std::array<int, 2> ends = {};
        if (socketpair(AF_UNIX, SOCK_SEQPACKET, 0, ends.data()) != 0)
        {
            std::abort();
        }
        pingPong[core] = ends[0];
        StartProcess(core, [&ends](int ready) { Echo(ends[1], ready); });
    }
    PinToCore(0);
}

void PingPong(benchmark::State& state, const std::size_t (&bytes)[2], int core)
{
    std::array<char, 4096> buffer = {};
    for ([[maybe_unused]] auto iteration : state)
    {
        std::memcpy(buffer.data(), &bytes[1], sizeof bytes[1]);
        (void)!send(pingPong[core], buffer.data(), bytes[0], 0);
        benchmark::DoNotOptimize(recv(pingPong[core], buffer.data(), buffer.size(), 0));
    }
}

std::unique_ptr<IDeviceStatusService> GetService()
{
    auto& factory = DeviceStatusServiceProxyFactory::GetInstance();
    return std::unique_ptr<IDeviceStatusService>(
        dynamic_cast<IDeviceStatusService*>(ServiceManager::GetService(factory.GetServiceProviderName(), factory)));
}

void ReadSingle(benchmark::State& state, IDeviceStatusService& service)
{
    const ItemKey key(ledKeys[0]);
    for ([[maybe_unused]] auto iteration : state)
    {
        benchmark::DoNotOptimize(service.ReadItem(key).GetType());
    }
}

void ReadEleven(benchmark::State& state, IDeviceStatusService& service)
{
    MultiItemReader reader(ledKeys);
    std::array<ItemValue, std::size(ledKeys)> values;
    for ([[maybe_unused]] auto iteration : state)
    {
        reader.Read(service, values.data());
        benchmark::ClobberMemory();
    }
}

using ReadFunction = void (*)(benchmark::State&, IDeviceStatusService&);

void MeasureRemote(benchmark::State& state, ReadFunction read,
                   const Oxa::System::Rsc::RscEndpointConfiguration& endpoint)
{
    ServiceManager::SetEndpoints({endpoint});
    const auto service = GetService();
    if (service)
    {
        read(state, *service);
    }
    else
    {
        state.SkipWithError("no service");
    }
    ServiceManager::ResetEndpoints();
}

void MeasureInProcess(benchmark::State& state, ReadFunction read)
{
    const ProvidedMemoryServices services;
    read(state, *GetService());
}

/// The service without the layer, to subtract from a read in process.
void MeasureImplementation(benchmark::State& state, ReadFunction read)
{
    read(state, *ProvidedMemoryServices::MakeStatus());
}

void RegisterForCore(int core, const std::string& coreName)
{
    const struct
    {
        const char* name;
        ReadFunction read;
        const std::size_t (&bytes)[2];
    } reads[] = {{"1 item", &ReadSingle, singleBytes}, {"11 items", &ReadEleven, elevenBytes}};

    for (const auto& each : reads)
    {
        const std::string suffix = fmt::format("/{}/{}", each.name, coreName);
        Oxa::System::Rsc::RscEndpointConfiguration peer;
        peer.providerName = "Oxa.Device";
        peer.socketPath = GetSocketPath(core);
        benchmark::RegisterBenchmark(("PingPong" + suffix).c_str(), [&bytes = each.bytes, core](benchmark::State& state)
                                     { PingPong(state, bytes, core); })
            ->UseRealTime();
        benchmark::RegisterBenchmark(("PeerToPeer" + suffix).c_str(), [read = each.read, peer](benchmark::State& state)
                                     { MeasureRemote(state, read, peer); })
            ->UseRealTime();
    }
}

} // namespace

int main(int argc, char** argv)
{
    StartProcesses();
    benchmark::RegisterBenchmark("Implementation/1 item",
                                 [](benchmark::State& state) { MeasureImplementation(state, &ReadSingle); });
    benchmark::RegisterBenchmark("InProcess/1 item",
                                 [](benchmark::State& state) { MeasureInProcess(state, &ReadSingle); });
    benchmark::RegisterBenchmark("Implementation/11 items",
                                 [](benchmark::State& state) { MeasureImplementation(state, &ReadEleven); });
    benchmark::RegisterBenchmark("InProcess/11 items",
                                 [](benchmark::State& state) { MeasureInProcess(state, &ReadEleven); });
    RegisterForCore(0, "same core");
    RegisterForCore(1, "other core");
    benchmark::Initialize(&argc, argv);
    benchmark::RunSpecifiedBenchmarks();
    std::filesystem::remove_all(std::filesystem::path(GetSocketPath(0)).parent_path());
    return 0;
}
