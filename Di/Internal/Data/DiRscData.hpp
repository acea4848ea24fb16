#pragma once

#include "Oxa/System/Commons/Delegate.hpp"
#include "Oxa/System/Commons/Types.hpp"
#include "Oxa/System/Rsc/IRscReadEnumerator.hpp"
#include "Oxa/System/Rsc/IRscWriteEnumerator.hpp"
#include "Oxa/System/Rsc/RscString.hpp"
#include "Oxa/System/Rsc/RscVariant.hpp"

#include <vector>

namespace Oxa::Services::Modules::Wbm::Di::Internal::Data
{

/// Reads device items: keeps the keys and the results of a multi-item read and converts values.
/// Threads: one at a time. The delegates refer to this object, hence it is neither copied nor moved.
class DiRscData
{
public:
    DiRscData(const DiRscData&) = delete;
    DiRscData& operator=(const DiRscData&) = delete;

    /// Hands the keys to a service. Called by the service inside a multi-item read.
    void
    WriteRscStringItemsIdentifiers(System::Rsc::IRscWriteEnumerator<System::Rsc::RscString<512>>& enumerator) const;

    /// Replaces the results by what a service delivers. Called by the service inside a multi-item read. Throws what
    /// `ReadRscArrayElements` throws, and std::length_error for an announced number that no list can hold; what was
    /// gathered so far stays.
    void ReadRscVariantItemsResults(System::Rsc::IRscReadEnumerator<System::Rsc::RscVariant<512>>& enumerator);

    /// Reads all elements of an array and drops them, so that the service can go on behind it. Throws
    /// InvalidOperationException and ArgumentException for an array that cannot be read element by element.
    static void ReadRscArrayElements(System::Rsc::RscVariant<512>& value);

    /// False when the value is of another type than `out`; nothing is widened. `out` then holds the failure value:
    /// false, -128, 255, 4294967295 or 18446744073709551615.
    static bool ConvRscVariant512Value(const System::Rsc::RscVariant<512>& value, bool& out);
    static bool ConvRscVariant512Value(const System::Rsc::RscVariant<512>& value, int8& out);
    static bool ConvRscVariant512Value(const System::Rsc::RscVariant<512>& value, uint8& out);
    static bool ConvRscVariant512Value(const System::Rsc::RscVariant<512>& value, uint32& out);
    static bool ConvRscVariant512Value(const System::Rsc::RscVariant<512>& value, uint64& out);

    /// Texts, and unsigned integers up to 32 bits in decimal. False for every other type; `out` is then "N/A".
    static bool ConvRscVariant512Value(const System::Rsc::RscVariant<512>& value, BasicString& out);

protected:
    DiRscData();
    ~DiRscData();

    std::vector<System::Rsc::RscString<512>> itemKeys;
    std::vector<System::Rsc::RscVariant<512>> results;
    Oxa::delegate<void(System::Rsc::IRscWriteEnumerator<System::Rsc::RscString<512>>&)> keysDelegate;
    Oxa::delegate<void(System::Rsc::IRscReadEnumerator<System::Rsc::RscVariant<512>>&)> resultsDelegate;
};

} // namespace Oxa::Services::Modules::Wbm::Di::Internal::Data
