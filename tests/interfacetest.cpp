// Names every exported class and function with its signature, so that a changed one does not compile.
#include <orvex/orvex.h>

#include <gtest/gtest.h>

#include <type_traits>

namespace
{

using ORVEX::cacheKeyType;
using ORVEX::Cast;
using ORVEX::Number;
using ORVEX::NumberUtils;
using Client = OrvexClientInterface;
using Count = unsigned long long;
using Type = fxpDataTypeProp;
using Round = fxpModeRounding_tag;
using Overflow = fxpModeOverflow_tag;
using Bits = unsigned int;

// Each takes addresses of functions that have exactly the signature F, whatever overloads these have.
template <class F, class... Class>
void members(F Class::*... member)
{
    EXPECT_TRUE((... && (member != nullptr)));
}
template <class F>
void functions(std::initializer_list<F*> list)
{
    for (F* const function : list) EXPECT_NE(function, nullptr);
}

template <class T, class... Arguments>
constexpr bool made = std::is_constructible_v<T, Arguments...>;
template <class A, class B>
constexpr bool same = std::is_same_v<A, B>;

TEST(Interface, Number)
{
    static_assert(made<Number, double, Type const&, Client&, Round const&, Overflow const&>);
    static_assert(
        made<Number, double const*, Type const&, Client&, Count, Round const&, Overflow const&, bool>);
    static_assert(made<Number, double, double, Type const&, Client&, Round const&, Overflow const&>);
    static_assert(made<Number, double const*, double const*, Type const&, Client&, Count, Round const&,
                       Overflow const&>);
    static_assert(made<Number, void*, Type const&, Client&, Count, Round const&, Overflow const&, bool>);
    static_assert(
        made<Number, Count, Count, Count const*, Type const&, Client&, Round const&, Overflow const&, bool>);
    static_assert(made<Number, Number const&, NumberUtils::CopyIndexOnly>);
    static_assert(made<Number, Number const&, Type const&, Round const&, Overflow const&>);
    static_assert(std::is_copy_constructible_v<Number>);

    members<Count() const>(&Number::getNumberOfElements, &Number::getNDims, &Number::getNumberOfRows,
                           &Number::getNumberOfColumns, &Number::getIndex, &Number::getSIArrayValueUnsigned,
                           &Number::getImagSIArrayValueUnsigned);
    members<long long() const>(&Number::getSIArrayValueSigned, &Number::getImagSIArrayValueSigned);
    members<Count const*() const>(&Number::getDims);
    members<bool() const>(&Number::isScalar, &Number::isEmpty, &Number::isVector, &Number::isRow,
                          &Number::isColumn, &Number::isComplex, &Number::isReal, &Number::isSigned,
                          &Number::isFixed, &Number::isScaledDouble, &Number::isScaledType, &Number::isFloat,
                          &Number::isDouble, &Number::isSingle, &Number::isBoolean, &Number::dataIsExternal,
                          &Number::isDataTypeForBinaryOpOutputUserSpecified,
                          &Number::isDataTypeForNonAssignmentOpPlusUserSpecified,
                          &Number::isDataTypeForNonAssignmentOpTimesUserSpecified);
    members<bool(Number const&) const>(&Number::isSameSize, &Number::operator==, &Number::operator!=,
                                       &Number::operator<, &Number::operator>, &Number::operator<=,
                                       &Number::operator>=);
    members<int() const>(&Number::getNumChunks, &Number::getWordLength, &Number::getFractionLength,
                         &Number::getFixedExponent);
    members<void(Count)>(&Number::setNumberOfElements, &Number::setNDims);
    members<void(Count const*)>(&Number::setDims);
    members<void(Count) const>(&Number::setIndex);
    members<Number const&(Count) const>(&Number::operator[]);
    members<Number&(Count)>(&Number::operator[]);
    members<Type const&() const>(&Number::getDataType, &Number::getDataTypeForBinaryOpOutput,
                                 &Number::getDataTypeForNonAssignmentOpPlus,
                                 &Number::getDataTypeForNonAssignmentOpTimes);
    members<void(Type const&) const>(&Number::setDataTypeForBinaryOpOutput,
                                     &Number::setDataTypeForNonAssignmentOpPlus,
                                     &Number::setDataTypeForNonAssignmentOpTimes);
    members<void() const>(&Number::resetDataTypeForBinaryOpOutput,
                          &Number::resetDataTypeForNonAssignmentOpPlus,
                          &Number::resetDataTypeForNonAssignmentOpTimes, &Number::disp);
    members<double() const>(&Number::getSlope, &Number::getSlopeAdjustmentFactor, &Number::getBias,
                            &Number::getRWDoubleValue, &Number::getImagRWDoubleValue,
                            &Number::getSIDoubleValue, &Number::getImagSIDoubleValue);
    members<void(double)>(&Number::setSlope, &Number::setSlopeAdjustmentFactor, &Number::setBias);
    members<void(bool)>(&Number::setIsSigned);
    members<void(int)>(&Number::setFractionLength, &Number::setFixedExponent, &Number::setWordLength,
                       &Number::bitShiftArith, &Number::arrayBitShiftArith);
    members<Round() const>(&Number::getRoundMode);
    members<void(Round)>(&Number::setRoundMode);
    members<Overflow() const>(&Number::getOverflowMode);
    members<void(Overflow)>(&Number::setOverflowMode);
    members<Client&() const>(&Number::getFxpClient);
    members<double*(double*) const>(&Number::getAllRWDoubleValues, &Number::getAllSIDoubleValues);
    members<float*(float*) const>(&Number::getAllRWSingleValues);
    members<void const*() const>(&Number::getSIArray);
    members<void(void*)>(&Number::setSIArray);
    members<void(void const*, Count)>(&Number::copyDataIntoSIArray);
    members<std::string() const>(&Number::getSIArrayInHex);
    members<Number&(double const&)>(&Number::operator=);
    members<Number&(double const*)>(&Number::operator=);
    members<Number&(Number const&)>(&Number::operator=, &Number::operator+=, &Number::operator-=,
                                    &Number::operator*=, &Number::arrayPlusEquals);
    members<void(double const*)>(&Number::setValue);
    functions<void(Number&, Number const&)>({&Number::arrayEquals});
    members<void()>(&Number::setMaxRWValue, &Number::setMinRWValue, &Number::setMinPositiveRWValue);
    members<Number() const>(&Number::getMaxSIValue, &Number::getMinSIValue, &Number::stripScaling,
                            &Number::real, &Number::imag, &Number::realArray, &Number::transpose,
                            &Number::ctranspose, &Number::getLSB, &Number::getMSB, &Number::arrayGetLSB,
                            &Number::arrayGetMSB);
    members<void(Type const&, bool)>(&Number::setDataTypeComplexityAndReAllocateData,
                                     &Number::setDataTypeComplexityReAllocateAndCopyData);
    members<Number(Type const&) const>(&Number::reinterpretCast, &Number::rescale);
    members<Number&() const>(&Number::imagArray);
    members<Number(Number const&) const>(&Number::operator+, &Number::operator-, &Number::operator*);
    functions<Number(Number const&, Number const&)>(
        {&Number::arrayPlus, &Number::arrayMinus, &Number::arrayTimes, &Number::bitAnd, &Number::bitOr,
         &Number::bitXor, &Number::arrayBitAnd, &Number::arrayBitOr, &Number::arrayBitXor});
    functions<Number(Number const&, Number const&, Type const&)>({&Number::divide, &Number::arrayDivide,
                                                                  &Number::arrayPlus, &Number::arrayMinus,
                                                                  &Number::arrayTimes});
    functions<Number(Number const&, Number const&, Type const&, Type const&)>(
        {&Number::arrayPlus, &Number::arrayMinus, &Number::arrayTimes});
    functions<Number(Number const&, Number const&, Type const&, Type const&, Type const&)>(
        {&Number::arrayTimes});
    functions<Number(Number const&)>({&Number::bitCmp, &Number::arrayBitCmp});
    members<bool*(Number const&, bool*) const>(
        &Number::arrayIsEqual, &Number::arrayIsNotEqual, &Number::arrayIsLessThan,
        &Number::arrayIsGreaterThan, &Number::arrayIsLessThanOrEqualTo, &Number::arrayIsGreaterThanOrEqualTo);
    members<Number(int) const>(&Number::bitGet);
    members<Number(std::vector<int> const&) const>(&Number::arrayBitGet);
    members<void(int, bool)>(&Number::bitSet);
    members<void(std::vector<int> const&)>(&Number::arrayBitSet);
    members<void(std::vector<int> const&, std::vector<bool> const&)>(&Number::arrayBitSet);
    members<void(Bits)>(&Number::bitShiftRightArith, &Number::bitShiftRightLogical,
                        &Number::bitShiftLeftLogical, &Number::arrayBitShiftRightArith,
                        &Number::arrayBitShiftRightLogical, &Number::arrayBitShiftLeftLogical,
                        &Number::bitRotateLeft, &Number::bitRotateRight, &Number::arrayBitRotateLeft,
                        &Number::arrayBitRotateRight);
}

TEST(Interface, NumbersNeighbours)
{
    static_assert(same<ORVEX::NumberBody, ::NumberBody> &&
                  same<ORVEX::NumberBodyFactory, ::NumberBodyFactory>);
    static_assert(same<ORVEX::NumberUtils, ::NumberUtils>);
    static_assert(made<Cast, Type const&, Client&, Round const&, Overflow const&> && made<Cast, Cast const&>);
    members<Type const&() const>(&Cast::getDataType);
    members<bool() const>(&Cast::isSigned);
    members<int() const>(&Cast::getWordLength, &Cast::getFractionLength);
    members<Round() const>(&Cast::getRoundMode);
    members<Overflow() const>(&Cast::getOverflowMode);
    members<Client&() const>(&Cast::getOrvexClientInterface);
    members<void(bool)>(&Cast::setIsSigned);
    members<void(int)>(&Cast::setWordLength, &Cast::setFractionLength);
    members<void(Round)>(&Cast::setRoundMode);
    members<void(Overflow)>(&Cast::setOverflowMode);
    members<Number(Number const&) const>(&Cast::operator());
    members<double(double const&) const>(&Cast::operator());

    functions<void(resource_core::BaseMsgID const&)>(
        {&NumberUtils::throwIExceptionFromMessageID, &NumberUtils::reportWarningFromMessageID});
    functions<NumberBody*(double const*, Type const&, Client&, Count, Round, Overflow, bool)>(
        {&NumberBodyFactory::createNumberBody});
    functions<NumberBody*(double const*, double const*, Type const&, Client&, Count, Round, Overflow)>(
        {&NumberBodyFactory::createNumberBody});
    functions<NumberBody*(void*, Type const&, Client&, Count, Round, Overflow, bool)>(
        {&NumberBodyFactory::createNumberBody});
    functions<NumberBody*(NumberBody const*)>({&NumberBodyFactory::createNumberBody});
    functions<NumberBody*(NumberBody const*, NumberUtils::CopyIndexOnly)>(
        {&NumberBodyFactory::createNumberBody});
}

TEST(Interface, Clients)
{
    static_assert(same<ORVEX::OrvexClientInterface, Client> && same<ORVEX::FxpClientNull, FxpClientNull> &&
                  same<ORVEX::FxpClientFullPrecision, FxpClientFullPrecision> &&
                  same<ORVEX::FxpClientWithReporting, FxpClientWithReporting> &&
                  same<ORVEX::FxpNetSlopeCorrectMethod, FxpNetSlopeCorrectMethod>);
    static_assert(std::is_base_of_v<Client, FxpClientNull> &&
                  std::is_base_of_v<Client, FxpClientFullPrecision> &&
                  std::is_base_of_v<Client, FxpClientWithReporting> && std::is_abstract_v<Client>);
    static_assert(made<FxpClientNull> && made<FxpClientFullPrecision> &&
                  made<FxpClientWithReporting, fxpProdHardware const&>);
    using ORVEX::EventCounter, ORVEX::EventCounts, ORVEX::EventKind, ORVEX::EventLog, ORVEX::ForwardingClient;
    using Pass = ForwardingClient::Pass;
    static_assert(std::is_base_of_v<Client, ForwardingClient> && std::is_abstract_v<ForwardingClient> &&
                  std::is_base_of_v<ForwardingClient, EventCounter> &&
                  std::is_base_of_v<ForwardingClient, EventLog>);
    static_assert(made<EventCounter> && made<EventCounter, Client*> && made<EventCounter, Client*, Pass> &&
                  made<EventLog> && made<EventLog, Client*, Pass, std::size_t>);
    members<EventCounts() const>(&EventCounter::counts, &EventLog::counts);
    members<Count(EventKind) const>(&EventCounter::count);
    members<void()>(&EventCounter::reset, &EventLog::clear);
    members<EventCounter&(EventCounts const&)>(&EventCounter::operator+=);
    members<void(Count)>(&EventLog::setElement);
    members<std::vector<EventLog::Entry>() const>(&EventLog::entries);
    members<std::string() const>(&EventCounts::summary, &EventCounts::table, &EventCounter::summary,
                                 &EventCounter::table, &EventLog::text);
    functions<char const*(EventKind, bool)>({&ORVEX::eventName});
    functions<EventLog(Client&, double const*, Count, Type const&, Round, Overflow, bool)>(
        {&ORVEX::replayStore});
    functions<EventLog(Number const&, Type const&, Round, Overflow)>({&ORVEX::replayCast});
    functions<Number(Number const&, Client&)>({&ORVEX::withClient});
    functions<void(Number const&, Number const&)>({&ORVEX::copyOutputTypes});
    // Without const unless it stands here: an operation of a client would not override another.
    members<char const*() const>(&Client::getClassName);
    members<bool()>(&Client::isNullClient);
    members<void()>(&Client::handleOverflowWrap, &Client::handleSaturationToMin,
                    &Client::handleSaturationToMax, &Client::handleUnderflow, &Client::handleDivisionByZero,
                    &Client::handleScaledDoublePotentialOverflow,
                    &Client::handleScaledDoublePotentialUnderflow, &Client::initMaxSupportedWordLength,
                    &Client::setHoldErrorFlag, &Client::resetHoldErrorFlag,
                    &FxpClientWithReporting::resetOverFlowOccurred);
    members<void(Count const*, Type const&, double, bool)>(&Client::reportNetScalingDiagnostic);
    members<fxpProdHardware const*() const>(&Client::getProductionHardware);
    members<FxpNetSlopeCorrectMethod() const>(&Client::getNetSlopeCorrectionMethod);
    members<bool() const>(&Client::getUseFloatMulNetSlope, &Client::getSupportStrictSingle,
                          &Client::getHoldErrorFlag, &FxpClientWithReporting::getOverFlowOccurred);
    members<void(kvxDiagnosticImpl*&)>(&Client::receiveFatalError_HoldOrThrow,
                                       &Client::receiveFatalErrorAlwaysThrow,
                                       &Client::receiveDiagnosticError);
    members<kvxDiagnosticImpl*()>(&Client::releaseFatalError);
    members<Client*()>(&Client::clone, &FxpClientNull::clone);
    members<int() const>(&Client::getMaxSupportedWordLength);
}

TEST(Interface, Hardware)
{
    using Sizes = HWIntegerWordLengths;
    using Hardware = fxpProdHardware;
    static_assert(same<ORVEX::HWIntegerWordLengths, Sizes> &&
                  same<ORVEX::MicroIntegerWordLengths, MicroIntegerWordLengths> &&
                  same<ORVEX::AsicIntegerWordLengths, AsicIntegerWordLengths> &&
                  same<ORVEX::WordLengthBasePredicate, WordLengthBasePredicate> &&
                  same<ORVEX::WordLengthIterator, WordLengthIterator> &&
                  same<ORVEX::WordLengthIteratorImpl, WordLengthIteratorImpl> &&
                  same<ORVEX::fxpProdHardware, Hardware> && same<ORVEX::ProdHWDeviceType, ProdHWDeviceType> &&
                  same<ORVEX::FxpHardwareRounding, FxpHardwareRounding> &&
                  same<ORVEX::HWContainerEnum, HWContainerEnum>);
    static_assert(ORVEX::FXP_MAX_BITS == ::FXP_MAX_BITS && same<decltype(FXP_MAX_BITS), Bits const>);
    static_assert(made<AsicIntegerWordLengths> && made<MicroIntegerWordLengths, Bits, Bits, Bits, Bits> &&
                  made<MicroIntegerWordLengths, Bits, Bits, Bits, Bits, Bits> && std::is_abstract_v<Sizes>);
    static_assert(made<Hardware> && made<Hardware, Hardware const&> &&
                  made<Hardware, ProdHWDeviceType, FxpHardwareRounding> &&
                  made<Hardware, ProdHWDeviceType, Bits, Bits, Bits, Bits, FxpHardwareRounding> &&
                  made<Hardware, ProdHWDeviceType, Bits, Bits, Bits, Bits, Bits, FxpHardwareRounding>);
    members<Bits() const>(&Sizes::getBitsPerSmallestInteger, &Sizes::getBitsPerLargestInteger,
                          &Sizes::getBitsPerNominalInteger, &Sizes::getNumIntegers,
                          &WordLengthIterator::operator*, &WordLengthIteratorImpl::current);
    members<Bits(Bits, HWContainerEnum)>(&Sizes::getContainerWordLength,
                                         &Sizes::getNextLargestSingleWordInteger);
    members<Bits(Bits)>(&Sizes::getNextLargestMultiWordInteger);
    members<bool(Bits) const>(&Sizes::isMultiWord);
    members<bool(Bits)>(&Sizes::isWordLengthEmulated, &Sizes::isHWBuiltInWordLength,
                        &WordLengthBasePredicate::operator());
    members<void(Bits)>(&Sizes::addNewWordLength);
    members<void()>(&Sizes::removeLargestWordLength,
                    static_cast<void (Hardware::*)()>(&Hardware::createAsicDevice));
    members<WordLengthIterator() const>(
        &Sizes::beginElementIterator, &Sizes::endElementIterator, &Sizes::beginUniqueIterator,
        &Sizes::endUniqueIterator, &Sizes::beginIntegerElementIterator, &Sizes::beginIntegerUniqueIterator);
    members<boost::shared_ptr<Sizes>() const>(&Sizes::clone);
    members<Sizes::hwDeviceTypeEnum() const>(&Sizes::kind);
    members<Bits(Bits, WordLengthBasePredicate&)>(&Sizes::find_first);
    members<bool(Sizes const*) const>(&Sizes::isEqual);
    members<bool(WordLengthIterator const&) const>(&WordLengthIterator::operator!=);
    members<WordLengthIterator&()>(&WordLengthIterator::operator++);

    functions<Hardware()>({&Hardware::getASICTypeHardware});
    functions<Hardware(FxpHardwareRounding)>({&Hardware::getASICTypeHardware});
    members<void(FxpHardwareRounding)>(&Hardware::createAsicDevice, &Hardware::setHWIntDivRndMode);
    members<void(Bits, Bits, Bits, Bits)>(&Hardware::createMicroDevice);
    members<void(Bits, Bits, Bits, Bits, Bits)>(&Hardware::createMicroDevice);
    members<void(boost::shared_ptr<Sizes>)>(&Hardware::setProdHW);
    members<void(ProdHWDeviceType)>(&Hardware::setHWDeviceType);
    members<ProdHWDeviceType() const>(&Hardware::getHWDeviceType);
    members<FxpHardwareRounding() const>(&Hardware::getHWIntDivRndMode);
    members<bool() const>(&Hardware::isHWDeviceTypeASIC, &Hardware::isHWDeviceTypeMicropcessor);
    members<Sizes*() const>(&Hardware::getHWIntegerWordlengths);
    members<Sizes*()>(&Hardware::getTestHWIntergerWordlengths);
    members<Hardware*() const>(&Hardware::clone);
}

TEST(Interface, TypeDecisions)
{
    using Plan = CastMixFloatFixptRealization;
    using Conditions = fxpSelectRadixTypeConditions;
    using Choices = fxpOperationChoices;
    static_assert(
        same<ORVEX::CastMixFloatFixptRealization, Plan> &&
        same<ORVEX::fxpSelectRadixTypeConditions, Conditions> && same<ORVEX::fxpOperationChoices, Choices> &&
        same<ORVEX::fxpScalarOversized, ::fxpScalarOversized> && same<::cacheKeyType, cacheKeyType>);
    functions<double(Client&, double, Type const&, int, int)>({&ORVEX::mpr_quantize});
    functions<void(Client&, Type*, Type const*, fxpProdHardware const*, Conditions*)>(
        {&ORVEX::selectRadixDataType});
    functions<void(Client&, Type*, Type const*, fxpProdHardware const*)>(
        {&ORVEX::selectRadixDataType_WithTerms});
    functions<void(Client&, Type*, Type const*)>(
        {&ORVEX::selectRadixDataTypeMax, &ORVEX::selectRadixDataTypeMaxWL});
    functions<void(Client&, Type*, Choices*, Choices*, Type const*, Type const*, Choices const*)>(
        {&ORVEX::selectCastIntermediateDataType});
    functions<void(int, Type*, Type const*, int*, int*, bool*)>({&ORVEX::discardBitsForMaxSize});
    functions<bool(Client&, Type const&, Type const&, double*, Type*, Count*, int)>(
        {&ORVEX::getDTCSlopeCorrectionMode});
    functions<bool(Client&, Type const&, Type const&, double*, Type*, fxpScalarOversized*, int)>(
        {&ORVEX::getDTCSlopeCorrectionMode});
    functions<void(Type*, Type const*, double)>({&ORVEX::selectSlopeCorrectionDataType});
    functions<void(Client&, Type*)>({&ORVEX::slopeNormalize});
    functions<void(double, double, int, int)>({&ORVEX::warnDifferentBestPrecisionScalingToAvoidOverflow});
    functions<void(Type*, Type*, Type const*, Type const*)>(
        {&::fxpCastGetNetNominalDatatypes, &ORVEX::fxpCastGetNetNominalDatatypes});
    functions<void(Type*, Type*, Type const*, Type const*, double&, int&, double&)>(
        {&::fxpCastGetNetNominalDatatypes_StepOne, &ORVEX::fxpCastGetNetNominalDatatypes_StepOne});
    functions<boost::logic::tribool(Type const&, Type const&)>({&ORVEX::castCanLosePrecision});
    functions<boost::logic::tribool(Client&, Type const&, Type const&)>(
        {&ORVEX::parameterCastCanBeOutOfBounds});

    static_assert(made<Plan, Type const&, Type const&, bool, bool>);
    members<Type const*() const>(&Plan::pFxpDtpY, &Plan::pFxpDtpU, &Plan::pFxpDtpYNet, &Plan::pFxpDtpCalc);
    members<int() const>(&Plan::getNormalNetFixedExponent, &Plan::ApproachNetFixedExponent);
    members<bool() const>(&Plan::CalcUseDouble, &Plan::UseDivApproach, &Plan::ApproachNetSlopeIsTrivial,
                          &Plan::ApproachNetSlopeIsExactPow2, &Conditions::isSlopeQuantizationLoss);
    members<double() const>(&Plan::ApproachNetSlope, &Plan::ApproachNetBias);
    members<void()>(&Conditions::setSlopeQuantizationLoss);
    static_assert(made<cacheKeyType> && made<cacheKeyType, fxpProdHardware const*>);
    static_assert(same<decltype(Choices::roundingMode), int> && same<decltype(Choices::overflowMode), int> &&
                  same<decltype(Choices::stageCode), int>);
}

TEST(Interface, Foundation)
{
    static_assert(same<ORVEX::fxpDataTypeProp, Type> && same<ORVEX::fxpModeDataType, fxpModeDataType> &&
                  same<ORVEX::fxpModeRounding_tag, Round> && same<ORVEX::fxpModeOverflow_tag, Overflow> &&
                  same<ORVEX::fxpDataTypeDTOMode, fxpDataTypeDTOMode> &&
                  same<ORVEX::KvxFeature, ::KvxFeature> &&
                  same<ORVEX::kvxDiagnosticImpl, ::kvxDiagnosticImpl>);
    static_assert(made<Type> &&
                  made<Type, fxpModeDataType, bool, int, double, int, double, fxpDataTypeDTOMode> &&
                  made<Type, bool, int, int> && made<Type, bool, int, double, int, double> &&
                  made<Type, bool, int, double, double>);
    functions<void(Type*)>({&ORVEX::createBadFxpDtpProp});
    functions<Type()>({&Type::doubleDataType, &Type::singleDataType});
    members<bool() const>(&Type::isSigned);
    members<void(bool)>(&Type::setIsSigned);
    members<void(int)>(&Type::setWordLength);
    members<void(double, int, double)>(&Type::setScaling);
    members<bool(Type const&) const>(&Type::isEqualIgnoreMode, &Type::isEqualConceptual);
    members<int() const>(&Type::getWordLengthNonSign, &Type::getPow2WtMSNonSignBit);
    members<void()>(&Type::changeIfBooleanToUint8);

    functions<kvxDiagnosticImpl*(resource_core::BaseMsgID const&)>(
        {&::kvxCreateDiagnosticFromMessageID, &ORVEX::kvxCreateDiagnosticFromMessageID});
    functions<void(kvxDiagnosticImpl*&, char const*)>(
        {&::kvxThrowIExceptionFromDiagnostic, &ORVEX::kvxThrowIExceptionFromDiagnostic});
    functions<void(kvxDiagnosticImpl*&)>({&::kvxReportAsWarning, &ORVEX::kvxReportAsWarning});
    functions<std::string(double, bool)>({&::kvx_dtoa, &ORVEX::kvx_dtoa});
    static_assert(
        made<KvxFeature, char const*, char const*, char const*, char const*, int, int, void (*)(int)>);
    static_assert(
        made<Orvex::number::ArrayDimMustAgree> && made<Orvex::number::IndexAssignElementCountMismatch> &&
        made<Orvex::number::bitIndexOutOfRange> && made<Orvex::typeBasic::SlopeWasNotStrictlyPositive> &&
        made<Orvex::typeBasic::SlopeWasNotFinite>);
    static_assert(std::is_base_of_v<resource_core::BaseMsgID,
                                    Orvex::typeBasic::DifferentBestPrecisionScalingToAvoidOverflow>);
    static_assert(same<std::remove_extent_t<decltype(liborvex_version)>, char const> &&
                  same<std::remove_extent_t<decltype(liborvex_build_date)>, char const>);
}

/// Names that stand in two namespaces stay unambiguous where both are open.
namespace both
{
using namespace ORVEX;
static_assert(same<fxpProdHardware, ORVEX::fxpProdHardware> && same<NumberBody, ORVEX::NumberBody> &&
              same<cacheKeyType, ORVEX::cacheKeyType> && fxpModeRoundingFloor == 3);
} // namespace both

} // namespace
