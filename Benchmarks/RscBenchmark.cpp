// Reads of one item and of eleven through the remote service call layer, beside a bare exchange of as many bytes
// between two processes. "same core": both processes on core 0; "other core": the service on core 1. The services
// answer from memory.

#include "Benchmarks/MemoryServices.hpp"
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

using namespace Oxa::Device::Interface::Services;
using Oxa::BasicString;
using Oxa::System::Rsc::IRscReadEnumerator;
using Oxa::System::Rsc::IRscWriteEnumerator;
using Oxa::System::Rsc::RscServer;
using Oxa::System::Rsc::ServiceManager;

// As strace shows them for these reads: request and answer.
constexpr std::size_t singleBytes[] = {216, 80};
constexpr std::size_t elevenBytes[] = {608, 240};

constexpr const char* keys[] = {
    "Status.Leds.Pnio.Bf_C",   "Status.Leds.Runtime.Run",   "Status.Leds.Pnio.Bf_D", "Status.Leds.Runtime.Fail",
    "Status.Leds.Pnio.Sf",     "Status.Leds.Runtime.Debug", "Status.Leds.Zelo.D",    "Status.Leds.Zelo.E",
    "Status.Leds.Runtime.Ext", "Status.Leds.Safety.Run",    "Status.Leds.Safety.Fs",
};

void PinToCore(int core)
{
    cpu_set_t cores;
    CPU_ZERO(&cores);
    CPU_SET(static_cast<std::size_t>(core), &cores);
    sched_setaffinity(0, sizeof cores, &cores);
}

/// A process that does `run` on a core, says that it is ready, and goes with this one.
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
    // At the child's word, or when it ended.
    (void)!read(ready[0], &byte, 1);
    close(ready[0]);
}

void Say(int ready)
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
    const Oxa::Benchmarks::ProvidedMemoryServices services;
    Oxa::System::Rsc::RscServerConfiguration configuration;
    configuration.socketPath = socketPath;
    configuration.users = {{std::to_string(getuid()), true}};
    const RscServer server(configuration);
    Say(ready);
    pause();
}

int pingPong[2] = {-1, -1};

void Echo(int descriptor, int ready)
{
    Say(ready);
    std::array<char, 4096> buffer = {};
    while (recv(descriptor, buffer.data(), buffer.size(), 0) > 0)
    {
        // The first bytes say how long the answer is to be.
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

/// Asks for all keys and takes all values.
class ElevenItems final
{
public:
    void Write(IRscWriteEnumerator<ItemKey>& enumerator)
    {
        enumerator.BeginWrite(items.size());
        for (const ItemKey& key : items)
        {
            enumerator.WriteNext(key);
        }
        enumerator.EndWrite();
    }

    void Read(IRscReadEnumerator<ItemValue>& enumerator)
    {
        enumerator.BeginRead();
        ItemValue value;
        while (enumerator.ReadNext(value))
        {
            benchmark::DoNotOptimize(value.GetType());
        }
        enumerator.EndRead();
    }

private:
    std::vector<ItemKey> items = std::vector<ItemKey>(std::begin(keys), std::end(keys));
};

std::unique_ptr<IDeviceStatusService> GetService()
{
    auto& factory = DeviceStatusServiceProxyFactory::GetInstance();
    return std::unique_ptr<IDeviceStatusService>(
        dynamic_cast<IDeviceStatusService*>(ServiceManager::GetService(factory.GetServiceProviderName(), factory)));
}

void ReadSingle(benchmark::State& state, IDeviceStatusService& service)
{
    const ItemKey key(keys[0]);
    for ([[maybe_unused]] auto iteration : state)
    {
        benchmark::DoNotOptimize(service.ReadItem(key).GetType());
    }
}

void ReadEleven(benchmark::State& state, IDeviceStatusService& service)
{
    ElevenItems items;
    const auto write = WriteItemKeysDelegate::Bind(items, &ElevenItems::Write);
    const auto read = ReadItemValuesDelegate::Bind(items, &ElevenItems::Read);
    for ([[maybe_unused]] auto iteration : state)
    {
        service.ReadItems(write, read);
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
    const Oxa::Benchmarks::ProvidedMemoryServices services;
    read(state, *GetService());
}

/// The service itself, to be taken off what a read in process takes.
void MeasureImplementation(benchmark::State& state, ReadFunction read)
{
    Oxa::Benchmarks::MemoryItemService<IDeviceStatusService> service(
        []
        {
            std::unordered_map<std::string_view, ItemValue> values;
            for (const char* key : keys)
            {
                values.emplace(key, ItemValue(Oxa::uint32{0x00010001}));
            }
            return values;
        }());
    read(state, service);
}

void RegisterForCore(int core, const std::string& place)
{
    const struct
    {
        const char* name;
        ReadFunction read;
        const std::size_t (&bytes)[2];
    } reads[] = {{"1 item", &ReadSingle, singleBytes}, {"11 items", &ReadEleven, elevenBytes}};

    for (const auto& each : reads)
    {
        const std::string suffix = fmt::format("/{}/{}", each.name, place);
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
