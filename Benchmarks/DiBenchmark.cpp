// The module in process with services that respond from memory: time and allocations of every request of both data
// providers, and the ratio of a request for all five sections to its floor, writing the same bytes with RapidJSON.

#include "Benchmarks/FloorComparison.hpp"
#include "Benchmarks/MemoryServices.hpp"
#include "Benchmarks/RefreshValues.hpp"
#include "Di/Internal/DiControlHandler.hpp"
#include "Di/Internal/DiHandler.hpp"
#include "Di/Internal/Settings/DiSettings.hpp"

#include <benchmark/benchmark.h>
#include <rapidjson/stringbuffer.h>
#include <rapidjson/writer.h>

#include <atomic>
#include <cstdio>
#include <cstdlib>
#include <new>

namespace
{

std::atomic<std::size_t> allocationCount = 0;

} // namespace

// Not inlined: GCC would otherwise warn about memory from operator new that is passed to free.
[[gnu::noinline]] void* operator new(std::size_t bytes)
{
    allocationCount.fetch_add(1, std::memory_order_relaxed);
    void* const memory = std::malloc(bytes);
    if (memory == nullptr)
    {
        throw std::bad_alloc();
    }
    return memory;
}

[[gnu::noinline]] void operator delete(void* memory) noexcept
{
    std::free(memory);
}

[[gnu::noinline]] void operator delete(void* memory, std::size_t /*bytes*/) noexcept
{
    std::free(memory);
}

namespace
{

using namespace Oxa;
using namespace Oxa::Services::Commons::Wbm;
using Oxa::Services::Commons::Wbm::Modules::WbmRequestHandlerBase;
using Oxa::Services::Modules::Wbm::Di::Internal::DiControlHandler;
using Oxa::Services::Modules::Wbm::Di::Internal::DiHandler;
using Oxa::Services::Modules::Wbm::Di::Internal::Settings::DiSettings;

constexpr const char* allSections = "GeneralData&DateTime&Health&StatusIndicators&Utilization";

struct Bench
{
    Bench()
    {
        dataHandler.SubscribeServices();
        dataHandler.Setup();
        controlHandler.SubscribeServices();
    }

    const Benchmarks::ProvidedMemoryServices services;
    DiSettings settings;
    DiHandler dataHandler{settings};
    DiControlHandler controlHandler;
};

Bench& GetBench()
{
    static Bench bench;
    return bench;
}

WbmRequest MakeRequest(const char* name, const char* query)
{
    return {name, RequestParams(RequestQuery(query)), System::Um::SecurityToken(1)};
}

void HandleRequest(benchmark::State& state, WbmRequestHandlerBase& handler, const char* name, const char* query)
{
    const WbmRequest request = MakeRequest(name, query);
    const std::size_t countBefore = allocationCount;
    for (auto _ : state)
    {
        benchmark::DoNotOptimize(handler.HandleRequest(request));
    }
    state.counters["allocations"] =
        benchmark::Counter(static_cast<double>(allocationCount - countBefore), benchmark::Counter::kAvgIterations);
}

using Writer = rapidjson::Writer<rapidjson::StringBuffer>;

void WriteGeneralData(Writer& writer)
{
    writer.Key("GeneralData");
    writer.StartObject();
    constexpr std::pair<const char*, const char*> texts[] = {
        {"articleName", "Controller 4"},         {"orderNumber", "1051328"}, {"serialNumber", "1357924680"},
        {"fullFirmwareVersion", "2024.0.5 LTS"}, {"hardwareVersion", "03"},  {"fpgaVersion", "1.1.42"}};
    for (const auto& [key, text] : texts)
    {
        writer.Key(key);
        writer.String(text);
    }
    writer.Key("splcSupported");
    writer.Bool(false);
    writer.Key("splcFirmwareVersion");
    writer.String("1.2.3");
    writer.Key("splcFpgaVersion");
    writer.String("4.5.6");
    writer.EndObject();
}

void WriteDateTimeAndHealth(Writer& writer)
{
    writer.Key("DateTime");
    writer.StartObject();
    writer.Key("systemUpTime");
    writer.Uint64(86'400);
    writer.Key("currentTimestamp");
    writer.String("1700000000123456");
    writer.EndObject();
    writer.Key("Health");
    writer.StartObject();
    writer.Key("boardTemperature");
    writer.Int(41);
    writer.EndObject();
}

void WriteStatusIndicators(Writer& writer)
{
    writer.Key("StatusIndicators");
    writer.StartArray();
    for (const char* const led : Benchmarks::ledKeys)
    {
        writer.StartObject();
        writer.Key("fullName");
        writer.String(led);
        writer.Key("stateCode");
        writer.Uint(1);
        writer.Key("colorCode");
        writer.Uint(65536);
        writer.EndObject();
    }
    writer.EndArray();
}

void WriteUtilization(Writer& writer)
{
    writer.Key("Utilization");
    writer.StartObject();
    constexpr std::pair<const char*, uint64> numbers[] = {{"memoryUsagePercent", 37},
                                                          {"userPartitionTotal", 4'000'000'000},
                                                          {"userPartitionUsage", 1'000'000'000},
                                                          {"userPartitionUsagePercent", 25},
                                                          {"cpuCoresCount", 4},
                                                          {"cpuLoadTotal", 10}};
    for (const auto& [key, number] : numbers)
    {
        writer.Key(key);
        writer.Uint64(number);
    }
    writer.Key("cpuCoresLoad");
    writer.StartArray();
    for (unsigned load = 11; load <= 14; ++load)
    {
        writer.Uint(load);
    }
    writer.EndArray();
    writer.EndObject();
}

/// Writes the module's response from constants.
BasicString WriteFloor()
{
    rapidjson::StringBuffer buffer;
    Writer writer(buffer);
    writer.StartObject();
    writer.Key("errorCode");
    writer.String("");
    writer.Key("resultKind");
    writer.Uint(1);
    writer.Key("payload");
    writer.StartObject();
    WriteGeneralData(writer);
    WriteDateTimeAndHealth(writer);
    WriteStatusIndicators(writer);
    WriteUtilization(writer);
    writer.EndObject();
    writer.EndObject();
    return {buffer.GetString(), buffer.GetSize()};
}

void WriteFloor(benchmark::State& state)
{
    for (auto _ : state)
    {
        benchmark::DoNotOptimize(WriteFloor());
    }
}

void CompareWithFloor(benchmark::State& state)
{
    const WbmRequest request = MakeRequest("GetDataSections", allSections);
    Benchmarks::CompareWithFloor(
        state, [&request] { benchmark::DoNotOptimize(GetBench().dataHandler.HandleRequest(request)); },
        [] { benchmark::DoNotOptimize(WriteFloor()); });
}

void RegisterRequests()
{
    Bench& bench = GetBench();
    const std::tuple<WbmRequestHandlerBase&, const char*, const char*> requests[] = {
        {bench.dataHandler, "GetDataSection", "SectionName=DateTime"},
        {bench.dataHandler, "GetDataSection", "SectionName=GeneralData"},
        {bench.dataHandler, "GetDataSection", "SectionName=Health"},
        {bench.dataHandler, "GetDataSection", "SectionName=StatusIndicators"},
        {bench.dataHandler, "GetDataSection", "SectionName=Utilization"},
        {bench.dataHandler, "GetDataSections", allSections},
        {bench.dataHandler, "HasControlPermissions", ""},
        {bench.dataHandler, "IsRunStopSwitchSupported", ""},
        {bench.dataHandler, "IsRunStopSwitchInRun", ""},
        {bench.controlHandler, "RestartController", ""},
        {bench.controlHandler, "ResetControllerToFactoryDefault", ""},
    };
    for (const auto& [handler, name, query] : requests)
    {
        benchmark::RegisterBenchmark((BasicString(name) + "?" + query).c_str(),
                                     [&target = handler, requestName = name, requestQuery = query](auto& state)
                                     { HandleRequest(state, target, requestName, requestQuery); });
    }
    benchmark::RegisterBenchmark("floor: the same bytes with RapidJSON", [](auto& state) { WriteFloor(state); });
    benchmark::RegisterBenchmark("GetDataSections, all sections, to floor", CompareWithFloor);
}

} // namespace

int main(int argc, char** argv)
{
    const BasicString body =
        GetBench().dataHandler.HandleRequest(MakeRequest("GetDataSections", allSections)).GetBody();
    if (body != WriteFloor())
    {
        std::fprintf(stderr, "module and floor write different bytes\n%s\n%s\n", body.c_str(), WriteFloor().c_str());
        return EXIT_FAILURE;
    }
    RegisterRequests();
    benchmark::Initialize(&argc, argv);
    benchmark::RunSpecifiedBenchmarks();
    return EXIT_SUCCESS;
}
