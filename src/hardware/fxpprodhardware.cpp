#include <orvex/hardware/fxpprodhardware.h>

#include <orvex/hardware/asicintegerwordlengths.h>
#include <orvex/hardware/microintegerwordlengths.h>

#include <boost/make_shared.hpp>

#include <utility>

fxpProdHardware::fxpProdHardware() : fxpProdHardware(ProdHWDeviceAsic, FxpHardwareRoundingUndefined) {}

fxpProdHardware::fxpProdHardware(ProdHWDeviceType type, unsigned int bitsChar, unsigned int bitsShort,
                                 unsigned int bitsInt, unsigned int bitsLong, FxpHardwareRounding rounding)
    : deviceType(type), intDivRndMode(rounding),
      wordLengths(boost::make_shared<MicroIntegerWordLengths>(bitsChar, bitsShort, bitsInt, bitsLong))
{
}

fxpProdHardware::fxpProdHardware(ProdHWDeviceType type, unsigned int bitsChar, unsigned int bitsShort,
                                 unsigned int bitsInt, unsigned int bitsLong, unsigned int bitsLongLong,
                                 FxpHardwareRounding rounding)
    : deviceType(type), intDivRndMode(rounding), wordLengths(boost::make_shared<MicroIntegerWordLengths>(
                                                     bitsChar, bitsShort, bitsInt, bitsLong, bitsLongLong))
{
}

fxpProdHardware::fxpProdHardware(ProdHWDeviceType type, FxpHardwareRounding rounding)
    : deviceType(type), intDivRndMode(rounding), wordLengths(boost::make_shared<AsicIntegerWordLengths>())
{
}

fxpProdHardware::fxpProdHardware(fxpProdHardware const& other)
    : deviceType(other.deviceType), intDivRndMode(other.intDivRndMode),
      wordLengths(other.wordLengths->clone())
{
}

fxpProdHardware& fxpProdHardware::operator=(fxpProdHardware const& other)
{
    if (this == &other) return *this;
    wordLengths = other.wordLengths->clone(); // first, because it alone can throw
    deviceType = other.deviceType;
    intDivRndMode = other.intDivRndMode;
    return *this;
}

fxpProdHardware::~fxpProdHardware() = default;

fxpProdHardware fxpProdHardware::getASICTypeHardware()
{
    return getASICTypeHardware(FxpHardwareRoundingZero);
}

fxpProdHardware fxpProdHardware::getASICTypeHardware(FxpHardwareRounding rounding)
{
    return fxpProdHardware(ProdHWDeviceAsic, rounding);
}

void fxpProdHardware::createAsicDevice(FxpHardwareRounding rounding)
{
    wordLengths = boost::make_shared<AsicIntegerWordLengths>();
    deviceType = ProdHWDeviceAsic;
    intDivRndMode = rounding;
}

void fxpProdHardware::createAsicDevice() { createAsicDevice(FxpHardwareRoundingZero); }

void fxpProdHardware::createMicroDevice(unsigned int bitsChar, unsigned int bitsShort, unsigned int bitsInt,
                                        unsigned int bitsLong)
{
    wordLengths = boost::make_shared<MicroIntegerWordLengths>(bitsChar, bitsShort, bitsInt, bitsLong);
    deviceType = ProdHWDeviceMicro;
}

void fxpProdHardware::createMicroDevice(unsigned int bitsChar, unsigned int bitsShort, unsigned int bitsInt,
                                        unsigned int bitsLong, unsigned int bitsLongLong)
{
    wordLengths =
        boost::make_shared<MicroIntegerWordLengths>(bitsChar, bitsShort, bitsInt, bitsLong, bitsLongLong);
    deviceType = ProdHWDeviceMicro;
}

void fxpProdHardware::setProdHW(boost::shared_ptr<HWIntegerWordLengths> sizes)
{
    wordLengths = std::move(sizes);
}

fxpProdHardware* fxpProdHardware::clone() const { return new fxpProdHardware(*this); }
