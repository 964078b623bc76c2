#include "support/bodies.h"

#include <climits>
#include <map>
#include <set>
#include <tuple>
#include <typeindex>

namespace
{
using namespace orvextest;
using Body = std::unique_ptr<NumberBody>;
using Factory = NumberBodyFactory;

constexpr auto nearest = fxpModeRoundingNearest;
constexpr auto saturate = fxpModeOverflowSaturate;
constexpr auto share = NumberUtils::copyIndexOnly;

TEST(NumberBodyFactory, ChoosesTheClassInAllFiveForms)
{
    std::vector<Type> types = seamTypes();
    for (bool const isSigned : {false, true}) {
        for (int const bits : {INT_MIN, -64, 0, 16, 17, 6400, 6401})
            types.push_back(fixedType(isSigned, bits));
        for (int const mode : {1, 2, 3})
            types.push_back(withMode(fixedType(isSigned, 100), static_cast<fxpModeDataType>(mode)));
    }
    std::map<std::tuple<int, std::size_t, bool, bool>, std::type_index> classes;
    std::set<std::type_index> distinct;
    RecordingClient client;
    double const zeros[6] = {};
    for (Type const& type : types)
        for (bool const ask : {false, true}) {
            SCOPED_TRACE(testing::Message() << type << (ask ? " complex" : " real"));
            bool const isFixed = type.mode == fxpModeDataTypeFixed, isComplex = ask && isFixed;
            std::size_t const bytes = containerBytes(type), chunks = isFixed && bytes > 8 ? bytes / 8 : 1;
            std::vector<std::byte> ones(6 * bytes, std::byte{0xFF});
            Body const lent(Factory::createNumberBody(ones.data(), type, client, 3, nearest, saturate, ask)),
                copy(Factory::createNumberBody(lent.get())),
                sharing(Factory::createNumberBody(lent.get(), share)),
                filled(Factory::createNumberBody(zeros, type, client, 3, nearest, saturate, ask)),
                ofParts(ask ? Factory::createNumberBody(zeros, zeros, type, client, 3, nearest, saturate)
                            : nullptr);
            NumberBody const& of = *lent;
            for (NumberBody const* it : {lent.get(), copy.get(), sharing.get(), filled.get(), ofParts.get()})
                EXPECT_TRUE(it == nullptr ||
                            (typeid(*it) == typeid(of) && it->dataType() == type &&
                             it->isComplex() == isComplex &&
                             it->bytesPerElement() == bytes * (isComplex ? 2 : 1) &&
                             it->getNumChunks() == static_cast<int>(chunks) &&
                             it->isSingleChunk() == (chunks == 1) && it->isMultiChunk() == (chunks > 1)));
            EXPECT_TRUE(copy->dataIsExternal() && copy->getSIArray() != ones.data() && copy->useCount() == 1);
            EXPECT_TRUE(sharing->dataIsExternal() && sharing->getSIArray() == ones.data() &&
                        sharing->useCount() == 2);
            // One class for each container, signedness of words, and complexity; ones tell the signedness.
            bool const isWord = isFixed && chunks == 1, isSignedWord = isWord && type.isSigned();
            EXPECT_TRUE(!isFixed ||
                        of.getSIArrayValueUnsigned() ==
                            (isWord && !isSignedWord ? ~Chunk{0} >> (64 - 8 * bytes) : ~Chunk{0}));
            std::tuple const key{static_cast<int>(type.mode), isWord ? bytes : 0, isSignedWord, isComplex};
            EXPECT_EQ(classes.try_emplace(key, typeid(of)).first->second, std::type_index(typeid(of)));
            distinct.insert(typeid(of));
        }
    EXPECT_TRUE(distinct.size() == 21 && classes.size() == 21) << distinct.size();
}

TEST(NumberBodyFactory, HasNoBodyForBooleanAndUnknownModes)
{
    RecordingClient client;
    double const one = 1.0;
    for (int const mode : {4, 5, -1, INT_MAX}) {
        Type const type = withMode(s(16), static_cast<fxpModeDataType>(mode));
        void* const none = nullptr;
        EXPECT_TRUE(!Factory::createNumberBody(&one, type, client, 1, nearest, saturate, false) &&
                    !Factory::createNumberBody(&one, &one, type, client, 1, nearest, saturate) &&
                    !Factory::createNumberBody(none, type, client, 1, nearest, saturate, true));
        EXPECT_THROW(Factory::createNumberBody(&one, &one, type, client, ~0ULL, nearest, saturate),
                     std::bad_alloc);
        Held const held({s(16), {1}});
        held->dataType().mode = type.mode;
        EXPECT_TRUE(!Factory::createNumberBody(held.body()) &&
                    !Factory::createNumberBody(held.body(), share));
    }
}

TEST(NumberBodyFactory, CopiesFollowTheRecordAsItIsNow)
{
    for (int const bits : {5, 12, 20, 40})
        for (Element const& ones : Elements{{-1}, {-1, -1}}) {
            Held held({s(bits), ones});
            held->dataType().setIsSigned(false);
            EXPECT_EQ(held->getSIArrayValueUnsigned(), ~Chunk{0}) << "a signed body still";
            for (Body const& copy : {Body(Factory::createNumberBody(held.body())),
                                     Body(Factory::createNumberBody(held.body(), share))}) {
                copy->setIndex(1);
                EXPECT_EQ(copy->getSIArrayValueUnsigned(), ~Chunk{0} >> (64 - 8 * containerBytes(s(bits))))
                    << bits;
            }
        }
}

} // namespace
