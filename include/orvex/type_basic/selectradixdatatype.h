/// \file
/// The pure binary-point type that stands in for a type with a slope factor or a bias.
#pragma once

#include <orvex/client/orvexclientinterface.h>
#include <orvex/foundation/export.h>
#include <orvex/foundation/fxpdatatypeprop.h>
#include <orvex/hardware/fxpprodhardware.h>
#include <orvex/type_basic/fxpselectradixtypeconditions.h>

namespace ORVEX
{

/// \name Radix types
/// A type with a slope factor or a bias has, as its radix twin, a pure binary-point type that holds all of
/// its values.
///
/// Each of the four finds the least word length, not below the input's, at which a type of slope factor 1 and
/// bias 0 covers the input's real-world range and holds its slope term and its bias term exactly, and at that
/// length the largest fixed exponent. The result is signed exactly if some real-world value is negative. A
/// bias that no length holds is held as well as the longest can. They differ in the lengths they may use.
///
/// `out` receives the input unchanged if that is neither fixed nor scaled double, or has factor 1 and bias 0.
/// That no length was good enough shows only in the result, which is then the last one tried.
///
/// The client hears the events of quantizing the slope factor to the input's word length, and nothing of any
/// trial. A factor that this makes zero, or that is not finite, goes to slopeNormalize. A null hardware
/// counts as an ASIC that divides toward zero. `out` may be `in`, and is untouched if the client throws.
///@{

/// On a microprocessor the listed sizes above the input's word length; on an ASIC, all lengths up to 128
/// bits, of which those below the client's getMaxSupportedWordLength have to hold the bias exactly.
///
/// \param conditions may be null; is only added to
ORVEX_API void selectRadixDataType(OrvexClientInterface& client, fxpDataTypeProp* out,
                                   fxpDataTypeProp const* in, fxpProdHardware const* hw,
                                   fxpSelectRadixTypeConditions* conditions);

/// The same, but the result also covers the range that the input would have without its bias.
ORVEX_API void selectRadixDataType_WithTerms(OrvexClientInterface& client, fxpDataTypeProp* out,
                                             fxpDataTypeProp const* in, fxpProdHardware const* hw);

/// All lengths up to the largest word of the client's microprocessor, or to its getMaxSupportedWordLength.
ORVEX_API void selectRadixDataTypeMax(OrvexClientInterface& client, fxpDataTypeProp* out,
                                      fxpDataTypeProp const* in);

/// All lengths up to 129 bits, one more than a word may have, whatever the client's target is.
ORVEX_API void selectRadixDataTypeMaxWL(OrvexClientInterface& client, fxpDataTypeProp* out,
                                        fxpDataTypeProp const* in);

///@}

} // namespace ORVEX
