#pragma once

#include "Host/Http/HttpAnswer.hpp"
#include "Oxa/System/Commons/Types.hpp"

#include <string_view>

namespace Oxa::Host::Http
{

/// What the request says about the form of its answer.
struct AnswerForm
{
    bool isHead = false;
    bool isHttp10 = false;
    bool keepsConnection = true;
};

/// The standard's short text; empty for a status that the host does not use.
[[nodiscard]] std::string_view GetReasonPhrase(unsigned status) noexcept;

/// Writes the whole answer, head and body, into `output`, which keeps its storage from answer to answer.
void WriteAnswer(BasicString& output, const HttpAnswer& answer, std::string_view body, const AnswerForm& form);

} // namespace Oxa::Host::Http
