#include <orvex/type_basic/discardbitsformaxsize.h>

#include <algorithm>

namespace ORVEX
{

void discardBitsForMaxSize(int maxBits, fxpDataTypeProp* type, fxpDataTypeProp const* reference,
                           int* fractionBitsDiscarded, int* msbBitsDiscarded, bool* signDiscarded)
{
    fxpDataTypeProp worked = *type;
    long long excess = static_cast<long long>(type->wordLength) - std::max(maxBits, reference->wordLength);
    long long fractionBits = 0;
    long long msbBits = 0;
    bool dropsSign = false;
    if (excess > 0) {
        long long const belowReference =
            static_cast<long long>(reference->fixedExponent) - type->fixedExponent;
        fractionBits = std::clamp(belowReference, 0LL, excess);
        msbBits = excess - fractionBits;
        worked.fixedExponent += static_cast<int>(fractionBits);
        worked.setWordLength(static_cast<int>(type->wordLength - excess));
        auto const endOf = [](fxpDataTypeProp const& t) {
            return static_cast<long long>(t.wordLength) + t.fixedExponent;
        };
        // The sign bit of a value that an unsigned reference holds is the one in excess.
        dropsSign =
            msbBits > 0 && !reference->isSigned() && worked.isSigned() && endOf(*reference) == endOf(worked);
        if (dropsSign) worked.setIsSigned(false);
    }
    if (fractionBitsDiscarded) *fractionBitsDiscarded = static_cast<int>(fractionBits);
    if (msbBitsDiscarded) *msbBitsDiscarded = static_cast<int>(msbBits);
    if (signDiscarded) *signDiscarded = dropsSign;
    *type = worked;
}

} // namespace ORVEX
