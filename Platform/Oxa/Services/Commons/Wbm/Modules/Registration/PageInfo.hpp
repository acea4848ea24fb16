#pragma once

#include "Oxa/System/Commons/Types.hpp"

#include <utility>

namespace Oxa::Services::Commons::Wbm::Modules::Registration
{

/// Names a page of the web interface. A value type.
class PageInfo final
{
public:
    /// `dataName`: the data that the page shows. `parentPageName`: empty for a page at the top.
    PageInfo(BasicString dataName, BasicString pageName, BasicString parentPageName)
        : dataName(std::move(dataName)), pageName(std::move(pageName)), parentPageName(std::move(parentPageName))
    {
    }

    [[nodiscard]] const BasicString& GetDataName() const noexcept
    {
        return dataName;
    }

    [[nodiscard]] const BasicString& GetPageName() const noexcept
    {
        return pageName;
    }

    [[nodiscard]] const BasicString& GetParentPageName() const noexcept
    {
        return parentPageName;
    }

private:
    BasicString dataName;
    BasicString pageName;
    BasicString parentPageName;
};

} // namespace Oxa::Services::Commons::Wbm::Modules::Registration
