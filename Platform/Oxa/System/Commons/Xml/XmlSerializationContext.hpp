#pragma once

#include "Oxa/System/Commons/Xml/PlaceholderExpression.hpp"

namespace Oxa::System::Commons::Xml
{

/// What an object needs to know about the document that it is read from.
class XmlSerializationContext final
{
public:
    /// `appDomain` is borrowed; null: placeholders resolve from the environment only.
    explicit XmlSerializationContext(const AppDomain* appDomain) noexcept : placeholders(appDomain) {}

    [[nodiscard]] const PlaceholderExpression& GetPlaceholderExpression() const noexcept
    {
        return placeholders;
    }

private:
    PlaceholderExpression placeholders;
};

} // namespace Oxa::System::Commons::Xml
