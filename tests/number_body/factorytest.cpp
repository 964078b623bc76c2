#include "support/recordingclient.h"
#include "support/storage.h"

#include <orvex/number_body/numberbodyfactory.h>

#include <gtest/gtest.h>

#include <climits>
#include <map>
#include <memory>
#include <set>
#include <tuple>
#include <typeindex>

namespace
{
using namespace orvextest;
using Type = fxpDataTypeProp;
using Body = std::unique_ptr<NumberBody>;
using Factory = NumberBodyFactory;

constexpr auto nearest = fxpModeRoundingNearest;
constexpr auto saturate = fxpModeOverflowSaturate;
constexpr auto share = NumberUtils::copyIndexOnly;

std::vector<Type> typesAboutEveryEdge()
{
    constexpr std::array lengths{INT_MIN, -64, 0,  1,  5,  8,   9,   12,  16,  17,   31,
                                 32,      33,  63, 64, 65, 128, 129, 192, 193, 6400, 6401};
    std::vector<Type> types;
    for (bool const isSigned : {false, true}) {
        for (int const bits : lengths) types.push_back(fixedType(isSigned, bits));
        for (int const mode : {1, 2, 3})
            types.push_back({static_cast<fxpModeDataType>(mode), isSigned, 100, 1.0, 0, 0.0, 0});
    }
    return types;
}

TEST(NumberBodyFactory, ChoosesTheClassInAllFiveForms)
{
    std::map<std::tuple<int, std::size_t, bool, bool>, std::type_index> classes;
    RecordingClient client;
    double const zeros[6] = {};
    for (Type const& type : typesAboutEveryEdge())
        for (bool const ask : {false, true}) {
            SCOPED_TRACE(testing::Message() << type << (ask ? " complex" : " real"));
            bool const isFixed = type.mode == fxpModeDataTypeFixed, isComplex = ask && isFixed;
            std::size_t const bytes = containerBytes(type);
            int const chunks = isFixed && bytes > 8 ? static_cast<int>(bytes / 8) : 1;
            std::vector<std::byte> ones(6 * bytes, std::byte{0xFF});
            Body const lent(Factory::createNumberBody(ones.data(), type, client, 3, nearest, saturate, ask));
            Body const bodies[] = {
                Body(Factory::createNumberBody(zeros, type, client, 3, nearest, saturate, ask)),
                Body(ask ? Factory::createNumberBody(zeros, zeros, type, client, 3, nearest, saturate)
                         : Factory::createNumberBody(lent.get())),
                Body(Factory::createNumberBody(lent.get())),
                Body(Factory::createNumberBody(lent.get(), share))};
            NumberBody const& of = *lent;
            for (Body const& body : bodies) {
                NumberBody const& it = *body;
                EXPECT_EQ(typeid(it), typeid(of));
                EXPECT_EQ(it.dataType(), type);
                EXPECT_EQ(it.bytesPerElement(), bytes * (isComplex ? 2 : 1));
                EXPECT_EQ(it.isComplex(), isComplex);
                EXPECT_EQ(it.getNumChunks(), chunks);
                EXPECT_TRUE(it.isSingleChunk() == (chunks == 1) && it.isMultiChunk() == (chunks > 1));
            }
            EXPECT_TRUE(bodies[2]->dataIsExternal() && bodies[2]->getSIArray() != ones.data());
            EXPECT_TRUE(bodies[3]->dataIsExternal() && bodies[3]->getSIArray() == ones.data());
            EXPECT_TRUE(bodies[3]->useCount() == 2 && bodies[2]->useCount() == 1);
            // One class for each container, signedness of words, and complexity; ones tell the signedness.
            bool const isWord = isFixed && chunks == 1, isSignedWord = isWord && type.isSigned();
            Chunk const read = isWord && !isSignedWord ? ~Chunk{0} >> (64 - 8 * bytes) : ~Chunk{0};
            EXPECT_TRUE(!isFixed || of.getSIArrayValueUnsigned() == read);
            std::tuple const key{static_cast<int>(type.mode), isWord ? bytes : 0, isSignedWord, isComplex};
            EXPECT_EQ(classes.try_emplace(key, typeid(of)).first->second, std::type_index(typeid(of)));
        }
    std::set<std::type_index> distinct;
    for (auto const& [key, index] : classes) distinct.insert(index);
    EXPECT_TRUE(distinct.size() == 21 && classes.size() == 21) << distinct.size();
}

TEST(NumberBodyFactory, HasNoBodyForBooleanAndUnknownModes)
{
    RecordingClient client;
    double const one = 1.0;
    for (int const mode : {4, 5, -1, INT_MAX}) {
        Type const type{static_cast<fxpModeDataType>(mode), true, 16, 1.0, 0, 0.0, 0};
        EXPECT_EQ(Factory::createNumberBody(&one, type, client, 1, nearest, saturate, false), nullptr);
        EXPECT_EQ(Factory::createNumberBody(&one, &one, type, client, 1, nearest, saturate), nullptr);
        EXPECT_THROW(Factory::createNumberBody(&one, &one, type, client, ~0ULL, nearest, saturate),
                     std::bad_alloc);
        void* const none = nullptr;
        EXPECT_EQ(Factory::createNumberBody(none, type, client, 1, nearest, saturate, true), nullptr);
    }
}

TEST(NumberBodyFactory, CopiesFollowTheRecordAsItIsNow)
{
    RecordingClient client;
    double const values[] = {-1.0, -1.0};
    for (int const bits : {5, 12, 20, 40})
        for (bool const isComplex : {false, true}) {
            Type const type = fixedType(true, bits);
            Body const body(Factory::createNumberBody(values, type, client, 1, nearest, saturate, isComplex));
            body->dataType().setIsSigned(false);
            EXPECT_EQ(body->getSIArrayValueUnsigned(), ~Chunk{0}) << "a signed body still";
            for (Body const& copy : {Body(Factory::createNumberBody(body.get())),
                                     Body(Factory::createNumberBody(body.get(), share))})
                EXPECT_EQ(copy->getSIArrayValueUnsigned(), ~Chunk{0} >> (64 - 8 * containerBytes(type)))
                    << bits;
        }
}

} // namespace
