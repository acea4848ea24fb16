#include "Items/Internal/ItemsHandler.hpp"

#include "Oxa/Device/Interface/Services/DeviceItemServiceProxyFactory.hpp"
#include "Oxa/Services/Commons/Wbm/Json/JsonResponse.hpp"
#include "Oxa/System/Commons/ArgumentException.hpp"
#include "Oxa/System/Commons/Exception.hpp"
#include "Oxa/System/Commons/Text.hpp"
#include "Oxa/System/Rsc/RscServiceException.hpp"
#include "Oxa/System/Rsc/ServiceManager.hpp"

#include <algorithm>
#include <charconv>
#include <chrono>
#include <cstddef>
#include <optional>
#include <string_view>
#include <utility>

namespace Oxa::Services::Modules::Wbm::Items::Internal
{

using namespace Oxa::Device::Interface::Services;
using namespace Services::Commons::Wbm;
using Services::Commons::Wbm::Json::BooleanResult;
using Services::Commons::Wbm::Json::JsonResponse;
using Services::Commons::Wbm::Json::ResultKind;
using System::Commons::ArgumentException;
using System::Commons::Diagnostics::Logging::LogLevel;
using System::Commons::Json::IJsonSerializable;
using System::Rsc::IRscService;
using System::Rsc::RscFault;
using System::Rsc::RscServiceException;
using System::Rsc::ServiceManager;
namespace Text = System::Commons::Text;

namespace
{

const BasicString getItemsRequest = "GetItems";
const BasicString getHistoryRequest = "GetHistory";

const BasicString prefixParameter = "prefix";
const BasicString afterParameter = "after";
const BasicString keyParameter = "key";
const BasicString fromParameter = "from";
const BasicString toParameter = "to";
const BasicString pointsParameter = "points";

const BasicString invalidRequest = "InvalidRequest";
const BasicString invalidInput = "InvalidInput";
const BasicString unknownError = "UnknownError";

/// Of one response; a longer list takes several requests.
constexpr std::size_t maximumItems = IDeviceItemService::maximumPageItems;

/// The end of the year 9999, in ms since 1970 UTC: later times cannot be written as dates.
constexpr int64 maximumTime = 253'402'300'799'999;
constexpr int64 defaultPeriod = std::chrono::milliseconds(IDeviceItemService::historyLength).count();
constexpr int64 maximumPoints = IDeviceItemService::maximumHistoryPoints;
constexpr int64 defaultPoints = 300;

WbmResponse Respond(const BasicString& errorCode, IJsonSerializable& payload, ResultKind kind)
{
    const ResponseHeader header(ContentType::Application, ContentSubtype::Json, CharsetType::Utf8);
    return {header, JsonResponse(errorCode, payload, kind).ToJsonString()};
}

WbmResponse RespondError(const BasicString& errorCode)
{
    BooleanResult payload(false);
    return Respond(errorCode, payload, ResultKind::Boolean);
}

/// Whether an item's key could be this text, or begin with it.
bool IsKeyText(std::string_view text) noexcept
{
    return text.size() <= IDeviceItemService::maximumTextBytes && text.find('\0') == std::string_view::npos &&
           Text::IsValidUtf8(text);
}

/// The parameter's whole number, or `absent` without the parameter; empty when it is no number from 0 to `maximum`.
std::optional<int64> ReadNumber(const RequestQuery& query, const BasicString& name, int64 absent, int64 maximum)
{
    BasicString text;
    if (!query.TryGetParameterValue(name, text, false))
    {
        return absent;
    }
    int64 number = 0;
    const char* const end = text.data() + text.size();
    const auto [rest, error] = std::from_chars(text.data(), end, number);
    const bool isNumber = error == std::errc() && rest == end;
    return isNumber && number >= 0 && number <= maximum ? std::make_optional(number) : std::nullopt;
}

/// In ms since 1970 UTC.
struct HistoryPeriod
{
    int64 from;
    int64 to;
};

/// By default the last 24 hours before `to`, or until now. Empty for numbers that are no such period.
std::optional<HistoryPeriod> ReadPeriod(const RequestQuery& query)
{
    using namespace std::chrono;
    const auto now = duration_cast<milliseconds>(system_clock::now().time_since_epoch()).count();
    const auto to = ReadNumber(query, toParameter, now, maximumTime);
    if (!to)
    {
        return std::nullopt;
    }
    const auto from = ReadNumber(query, fromParameter, std::max<int64>(0, *to - defaultPeriod), maximumTime);
    return from && *from < *to ? std::make_optional(HistoryPeriod{*from, *to}) : std::nullopt;
}

} // namespace

ItemsHandler::ItemsHandler()
{
    RegisterHandlerDelegate(getItemsRequest, HandlerDelegate::Bind(*this, &ItemsHandler::GetItems));
    RegisterHandlerDelegate(getHistoryRequest, HandlerDelegate::Bind(*this, &ItemsHandler::GetHistory));
}

bool ItemsHandler::IsAvailable() const
{
    return service != nullptr;
}

void ItemsHandler::SubscribeService()
{
    ReleaseService();
    auto& factory = DeviceItemServiceProxyFactory::GetInstance();
    const std::shared_ptr<IRscService> proxy(ServiceManager::GetService(factory.GetServiceProviderName(), factory));
    service = std::dynamic_pointer_cast<IDeviceItemService>(proxy);
}

void ItemsHandler::ReleaseService() noexcept
{
    service.reset();
    list.reset();
}

WbmResponse ItemsHandler::GetItems(const WbmRequest& request)
{
    const RequestQuery& query = request.GetRequestParams().GetQuery();
    BasicString prefix;
    BasicString after;
    query.TryGetParameterValue(prefixParameter, prefix, false);
    query.TryGetParameterValue(afterParameter, after, false);
    if (!IsKeyText(prefix) || !IsKeyText(after))
    {
        return RespondError(invalidRequest);
    }
    return CallService(getItemsRequest,
                       [this, &prefix, &after]
                       {
                           ReadList();
                           const auto page = service->ReadItems(prefix, after, maximumItems);
                           ItemsPayload payload(*list, page.items, page.isCut);
                           return Respond({}, payload, ResultKind::Object);
                       });
}

WbmResponse ItemsHandler::GetHistory(const WbmRequest& request)
{
    const RequestQuery& query = request.GetRequestParams().GetQuery();
    BasicString key;
    const bool hasKey = query.TryGetParameterValue(keyParameter, key, false) && IsKeyText(key);
    const auto period = ReadPeriod(query);
    const auto points = ReadNumber(query, pointsParameter, defaultPoints, maximumPoints);
    if (!hasKey || !period || !points || *points == 0)
    {
        return RespondError(invalidRequest);
    }
    return CallService(getHistoryRequest,
                       [this, &key, &period, &points]
                       {
                           ReadList();
                           const auto history =
                               service->ReadHistory(key, period->from, period->to, static_cast<std::size_t>(*points));
                           HistoryPayload payload(key, FindUnit(key), history);
                           return Respond({}, payload, ResultKind::Object);
                       });
}

/// What the service throws becomes the error code of the response, except that it cannot be reached.
template <class TFunction>
WbmResponse ItemsHandler::CallService(const BasicString& requestName, const TFunction& function)
{
    try
    {
        return function();
    }
    catch (const RscServiceException&)
    {
        throw;
    }
    catch (const ArgumentException&)
    {
        return RespondError(invalidInput);
    }
    catch (const std::exception& exception)
    {
        if (failureLogLimiter.Admits())
        {
            Log(LogLevel::Error, "the request '{0}' failed: {1}", requestName, exception.what());
        }
        return RespondError(unknownError);
    }
}

void ItemsHandler::ReadList()
{
    if (list)
    {
        return;
    }
    std::vector<ListedItem> all;
    for (bool isCut = true; isCut;)
    {
        const auto page = service->ListItems({}, all.empty() ? BasicString() : all.back().key, maximumItems);
        // Each page brings new keys, so this ends.
        if (page.isCut && (page.items.empty() || (!all.empty() && page.items.back().key <= all.back().key)))
        {
            throw RscServiceException::Create(RscFault::InvalidResponse,
                                              "the list of the device items is not in order");
        }
        for (const DescribedItem& item : page.items)
        {
            all.emplace_back(item);
        }
        isCut = page.isCut;
    }
    all.shrink_to_fit();
    list = std::move(all);
}

/// Empty for an unknown item. Requires: the list was read.
const BasicString& ItemsHandler::FindUnit(const BasicString& key) const
{
    static const BasicString none;
    const auto found = std::ranges::lower_bound(*list, key, {}, &ListedItem::key);
    return found != list->end() && found->key == key ? found->unit : none;
}

} // namespace Oxa::Services::Modules::Wbm::Items::Internal
