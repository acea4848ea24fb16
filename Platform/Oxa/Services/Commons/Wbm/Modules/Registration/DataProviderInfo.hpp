#pragma once

#include "Oxa/System/Commons/Types.hpp"

#include <utility>

namespace Oxa::Services::Commons::Wbm::Modules::Registration
{

/// Names a data provider. A value type.
class DataProviderInfo final
{
public:
    explicit DataProviderInfo(BasicString dataProviderName) : dataProviderName(std::move(dataProviderName)) {}

    [[nodiscard]] const BasicString& GetDataProviderName() const noexcept
    {
        return dataProviderName;
    }

private:
    BasicString dataProviderName;
};

} // namespace Oxa::Services::Commons::Wbm::Modules::Registration
