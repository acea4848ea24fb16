#pragma once

#include "Oxa/Services/Commons/Wbm/Modules/WbmRequestHandlerBase.hpp"

namespace Hello
{

/// Answers the requests of the data provider "HelloDp".
class HelloHandler final : public Oxa::Services::Commons::Wbm::Modules::WbmRequestHandlerBase
{
public:
    HelloHandler();
    ~HelloHandler() override;

private:
    /// "SayHello": greets the query parameter "name", or the world. The answer's payload is {"greeting":"Hello, …!"}.
    Oxa::Services::Commons::Wbm::WbmResponse SayHello(const Oxa::Services::Commons::Wbm::WbmRequest& request);
};

} // namespace Hello
