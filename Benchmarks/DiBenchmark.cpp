// The module in process with services that answer from memory: time and allocations of every request of both data
// providers, and, for all five sections in one request, the ratio to writing the same bytes with RapidJSON.

#include "Benchmarks/AllocationCounter.hpp"
#include "Benchmarks/MemoryServices.hpp"
#include "Di/Internal/DiControlHandler.hpp"
#include "Di/Internal/DiHandler.hpp"
#include "Di/Internal/Settings/DiSettings.hpp"

#include <benchmark/benchmark.h>
#include <rapidjson/stringbuffer.h>
#include <rapidjson/writer.h>

#include <chrono>
#include <cstdio>
#include <cstdlib>

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
    const std::size_t allocationsBefore = Benchmarks::GetAllocationCount();
    for (auto _ : state)
    {
        benchmark::DoNotOptimize(handler.HandleRequest(request));
    }
    state.counters["allocations"] = benchmark::Counter(
        static_cast<double>(Benchmarks::GetAllocationCount() - allocationsBefore), benchmark::Counter::kAvgIterations);
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
    for (const char* const led :
         {"Status.Leds.Pnio.Bf_C", "Status.Leds.Runtime.Run", "Status.Leds.Pnio.Bf_D", "Status.Leds.Runtime.Fail",
          "Status.Leds.Pnio.Sf", "Status.Leds.Runtime.Debug", "Status.Leds.Zelo.D", "Status.Leds.Zelo.E",
          "Status.Leds.Runtime.Ext", "Status.Leds.Safety.Run", "Status.Leds.Safety.Fs"})
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

/// The same bytes as the module's answer, from constants.
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

template <class TOperation>
double MeasureNanoseconds(const TOperation& operation)
{
    constexpr int rounds = 2'000;
    const auto start = std::chrono::steady_clock::now();
    for (int round = 0; round < rounds; ++round)
    {
        benchmark::DoNotOptimize(operation());
    }
    const std::chrono::duration<double, std::nano> duration = std::chrono::steady_clock::now() - start;
    return duration.count() / rounds;
}

/// Both in turns, so that whatever else the machine does meets both alike.
void CompareWithFloor(benchmark::State& state)
{
    const WbmRequest request = MakeRequest("GetDataSections", allSections);
    double moduleNanoseconds = 0;
    double floorNanoseconds = 0;
    for (auto _ : state)
    {
        moduleNanoseconds += MeasureNanoseconds([&request] { return GetBench().dataHandler.HandleRequest(request); });
        floorNanoseconds += MeasureNanoseconds([] { return WriteFloor(); });
    }
    state.counters["ratio"] = moduleNanoseconds / floorNanoseconds;
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
        std::fprintf(stderr, "the floor writes other bytes than the module\n%s\n%s\n", body.c_str(),
                     WriteFloor().c_str());
        return EXIT_FAILURE;
    }
    RegisterRequests();
    benchmark::Initialize(&argc, argv);
    benchmark::RunSpecifiedBenchmarks();
    return EXIT_SUCCESS;
}
