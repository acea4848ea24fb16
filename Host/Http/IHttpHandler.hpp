#pragma once

#include "Oxa/System/Commons/Types.hpp"

#include <memory>

namespace Oxa::Host::Http
{

class IHttpExchange;

enum class Handling : uint8
{
    /// `Send` was called.
    Answered,
    /// The exchange is kept; `Send` and `Resume` follow, perhaps already on another thread.
    Deferred
};

/// Answers requests. Called on threads of the event loop, for several exchanges at the same time.
class IHttpHandler
{
public:
    virtual ~IHttpHandler();

    [[nodiscard]] virtual Handling Handle(const std::shared_ptr<IHttpExchange>& exchange) = 0;
};

} // namespace Oxa::Host::Http
