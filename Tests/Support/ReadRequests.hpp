#pragma once

#include "Host/Http/RequestReader.hpp"
#include "Oxa/System/Commons/Types.hpp"

#include <algorithm>
#include <cstddef>
#include <string_view>
#include <utility>

namespace Oxa::Tests::Support
{

/// What a reader finds in the bytes, as text: "GET /path?query host='…' …; " for each request, and the code of the
/// problem at the end. The first piece has `firstBytes`, others `pieceBytes`, or as many as there is space for.
inline BasicString ReadRequests(std::string_view bytes, std::size_t firstBytes, std::size_t pieceBytes)
{
    using Host::Http::RequestReader;
    constexpr std::string_view methods[] = {"GET", "HEAD", "POST", "PATCH", "DELETE", "other"};
    const Host::Configuration::RequestLimits limits;
    const Host::Http::SessionCheck hasSession = [](const Host::Http::HttpRequest& request)
    {
        return request.cookie == "session";
    };
    RequestReader reader(limits, hasSession);
    BasicString found;
    std::size_t nextBytes = firstBytes;
    while (true)
    {
        switch (reader.Parse())
        {
        case RequestReader::Progress::Failed:
            return found += reader.GetProblem().code;
        case RequestReader::Progress::Complete:
        {
            const auto& request = reader.GetRequest();
            found += methods[static_cast<std::size_t>(request.method)];
            found.append(" ").append(request.path);
            found.append(request.query.empty() ? "" : "?").append(request.query);
            const std::pair<std::string_view, std::string_view> texts[] = {
                {"host", request.host},     {"authorization", request.authorization},
                {"cookie", request.cookie}, {"type", request.contentType},
                {"origin", request.origin}, {"site", request.fetchSite},
                {"body", request.body}};
            for (const auto& [name, text] : texts)
            {
                if (!text.empty())
                {
                    found.append(" ").append(name).append("='").append(text).append("'");
                }
            }
            found += request.isHttp10 ? " 1.0" : "";
            found += request.keepsConnection ? "" : " close";
            found += request.expectsContinue ? " continue" : "";
            found += "; ";
            reader.BeginRequest();
            break;
        }
        case RequestReader::Progress::NeedsMore:
            if (bytes.empty())
            {
                return found;
            }
            const auto space = reader.GetSpace();
            const std::size_t count = bytes.copy(space.data(), std::min(nextBytes, space.size()));
            reader.Add(count);
            bytes.remove_prefix(count);
            nextBytes = pieceBytes;
            break;
        }
    }
}

} // namespace Oxa::Tests::Support
