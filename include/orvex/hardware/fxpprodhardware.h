/// \file
/// The production target: what kind of device it is, how its integer division rounds, which integers it has.
#pragma once

#include <orvex/foundation/export.h>
#include <orvex/hardware/hwintegerwordlengths.h>

#include <boost/shared_ptr.hpp>

#include <cstdint>

/// Kind of device. Mind that HWIntegerWordLengths::hwDeviceTypeEnum counts the other way round.
enum ProdHWDeviceType : std::int32_t {
    ProdHWDeviceMicro = 0, ///< a microprocessor
    ProdHWDeviceAsic = 1   ///< an ASIC or FPGA
};

/// How the target's integer division rounds. Where fxpModeRoundingCheapest has to become a mode of its own,
/// it becomes fxpModeRoundingFloor for FxpHardwareRoundingFloor and fxpModeRoundingZero for anything else.
enum FxpHardwareRounding : std::int32_t {
    FxpHardwareRoundingZero = 0,     ///< toward zero, as fxpModeRoundingZero
    FxpHardwareRoundingFloor = 1,    ///< toward minus infinity, as fxpModeRoundingFloor
    FxpHardwareRoundingUndefined = 2 ///< not known; matches no rounding mode
};

/// A production target, as a value: a copy has word lengths of its own, so that changing them leaves the
/// source alone. Only setProdHW makes a record share its word lengths with somebody.
///
/// The device type and the kind of the word lengths are set side by side; where both are open to the caller,
/// nothing checks that they agree.
class ORVEX_API fxpProdHardware
{
public:
    /// An ASIC of *undefined* division rounding; compare getASICTypeHardware.
    fxpProdHardware();

    /// A list of sizes, in bits, whatever `type` is: of the target's character, short, int and long.
    fxpProdHardware(ProdHWDeviceType type, unsigned int bitsChar, unsigned int bitsShort,
                    unsigned int bitsInt, unsigned int bitsLong, FxpHardwareRounding rounding);
    /// As above, with the long long.
    fxpProdHardware(ProdHWDeviceType type, unsigned int bitsChar, unsigned int bitsShort,
                    unsigned int bitsInt, unsigned int bitsLong, unsigned int bitsLongLong,
                    FxpHardwareRounding rounding);
    /// The sizes of an ASIC, whatever `type` is.
    fxpProdHardware(ProdHWDeviceType type, FxpHardwareRounding rounding);

    fxpProdHardware(fxpProdHardware const& other);            ///< with word lengths of its own
    fxpProdHardware& operator=(fxpProdHardware const& other); ///< with word lengths of its own
    ~fxpProdHardware();

    /// An ASIC that divides toward zero.
    static fxpProdHardware getASICTypeHardware();
    /// An ASIC that divides as given.
    static fxpProdHardware getASICTypeHardware(FxpHardwareRounding rounding);

    ///@{
    /// Makes the target another one, with new word lengths. An ASIC gets its rounding set, to
    /// FxpHardwareRoundingZero if none is given; a microprocessor keeps the rounding that the record had.
    void createAsicDevice(FxpHardwareRounding rounding);
    void createAsicDevice();
    void createMicroDevice(unsigned int bitsChar, unsigned int bitsShort, unsigned int bitsInt,
                           unsigned int bitsLong);
    void createMicroDevice(unsigned int bitsChar, unsigned int bitsShort, unsigned int bitsInt,
                           unsigned int bitsLong, unsigned int bitsLongLong);
    ///@}

    /// Shares the caller's word lengths, which must not be null, and changes nothing else.
    void setProdHW(boost::shared_ptr<HWIntegerWordLengths> sizes);
    ///@{
    /// Sets this alone; the word lengths stay.
    void setHWDeviceType(ProdHWDeviceType type) { deviceType = type; }
    void setHWIntDivRndMode(FxpHardwareRounding rounding) { intDivRndMode = rounding; }
    ///@}

    ///@{
    /// The kind of device and how its integer division rounds, as set.
    ProdHWDeviceType getHWDeviceType() const { return deviceType; }
    FxpHardwareRounding getHWIntDivRndMode() const { return intDivRndMode; }
    bool isHWDeviceTypeASIC() const { return deviceType == ProdHWDeviceAsic; }
    bool isHWDeviceTypeMicropcessor() const { return deviceType == ProdHWDeviceMicro; }
    ///@}

    /// The word lengths, never null. They belong to the record and last until it is destroyed, is assigned to
    /// or gets other ones.
    HWIntegerWordLengths* getHWIntegerWordlengths() const { return wordLengths.get(); }
    /// The same under another name.
    HWIntegerWordLengths* getTestHWIntergerWordlengths() { return wordLengths.get(); }

    /// A copy made with new, owned by the caller.
    fxpProdHardware* clone() const;

private:
    ProdHWDeviceType deviceType;
    FxpHardwareRounding intDivRndMode;
    boost::shared_ptr<HWIntegerWordLengths> wordLengths;
};

namespace ORVEX
{
using ::FxpHardwareRounding;
using ::FxpHardwareRoundingFloor;
using ::FxpHardwareRoundingUndefined;
using ::FxpHardwareRoundingZero;
using ::fxpProdHardware;
using ::ProdHWDeviceAsic;
using ::ProdHWDeviceMicro;
using ::ProdHWDeviceType;
} // namespace ORVEX
