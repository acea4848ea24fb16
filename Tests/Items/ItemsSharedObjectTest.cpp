#include "Items/LoadedModule.hpp"
#include "Support/LogRecorder.hpp"

#include <stdexcept>
#include <vector>

namespace
{

using namespace Oxa;
using namespace Oxa::Tests::Items;
using Oxa::Tests::Support::LogRecorder;
using System::Commons::Diagnostics::Logging::LogLevel;
using System::Commons::Diagnostics::Logging::LogManager;

class UnloadingTheItemsModule : public LoadedModule
{
};

/// Every test of the fixture checks that the library is unloaded; this one after everything that could keep it.
TEST_F(UnloadingTheItemsModule, IsPossibleAfterRequestsFailuresAndLogs)
{
    const LogRecorder log;
    EXPECT_EQ(&library.GetLibrary(), &library.GetLibrary());
    Offer();
    service->Add("A", ItemValue(uint8{1})).description.hasHistory = true;
    SetUpModule();
    EXPECT_TRUE(Send("GetItems").starts_with(R"({"errorCode":"","resultKind":1,)"));
    EXPECT_TRUE(Send("GetHistory", "key=A").starts_with(R"({"errorCode":"","resultKind":1,)"));
    EXPECT_TRUE(Send("GetHistory", "key=B").starts_with(R"({"errorCode":"InvalidInput",)"));
    service->failure = std::make_exception_ptr(std::runtime_error("the bus is stuck"));
    for (int count = 0; count < 100; ++count)
    {
        EXPECT_TRUE(Send("GetItems").starts_with(R"({"errorCode":"UnknownError",)"));
    }
    using Entry = LogRecorder::Entry;
    EXPECT_EQ(
        log.GetEntries(),
        std::vector<Entry>(10, Entry{LogLevel::Error, "Oxa::Services::Modules::Wbm::Items::Internal::ItemsHandler",
                                     "the request 'GetItems' failed: the bus is stuck"}));
    module->ResetModule(host);
}

} // namespace
