#include "support/allocations.h"
#include "support/numbers.h"

#include <orvex/number/cast.h>

#include <gtest/gtest.h>

#include <functional>
#include <memory>
#include <new>

namespace
{
using namespace orvextest;
using Type = fxpDataTypeProp;

constexpr auto floor_ = fxpModeRoundingFloor;
constexpr auto wrap = fxpModeOverflowWrap;
constexpr auto share = NumberUtils::copyIndexOnly;
Type const biased = fixedType(false, 8, 0, 1.0, 300.0); // without a stored integer for 0.0
Dims const fourDims{3, 1, 1, 1};

/// What makes a number, or gives one another storage or shape, and how often it fills a part with 0.0.
struct Operation {
    char const* name;
    enum { never, once, perElement, perPart } zeros;
    std::function<void(Number&)> run;
    Event ofBiased = Event::saturationToMin;
};
std::vector<Operation> const& operations()
{
    using Op = Operation;
    static Storage lent(s(200), 2000);
    static std::vector<Op> const all{
        {"copies", Op::never, [](auto& a) { Number copy(a), twin(a, share); }},
        {"conversion", Op::perPart, [](auto& a) { Number(a, biased, floor_, wrap); }, Event::wrap},
        {"cast", Op::perPart, [](auto& a) { ORVEX::Cast(biased, a.getFxpClient(), floor_, wrap)(a); },
         Event::wrap},
        {"dims", Op::perPart,
         [](auto& a) {
             Number(a.getNumberOfElements(), 4, fourDims.data(), biased, a.getFxpClient(), floor_, wrap,
                    a.isComplex());
         },
         Event::wrap},
        {"external", Op::never,
         [](auto& a) { Number(lent.data(), a.getDataType(), a.getFxpClient(), 2, floor_, wrap, true); }},
        {"real", Op::once, [](auto& a) { a.real(); }},
        {"imag", Op::once, [](auto& a) { a.imag(); }},
        {"realArray", Op::perElement, [](auto& a) { a.realArray(); }},
        {"imagArray", Op::perElement, [](auto& a) { delete &a.imagArray(); }},
        {"transpose", Op::perPart, [](auto& a) { a.transpose(); }},
        {"ctranspose", Op::perPart, [](auto& a) { a.ctranspose(); }},
        {"rescale", Op::perPart, [](auto& a) { a.rescale(biased); }},
        {"reinterpretCast", Op::perPart, [](auto& a) { a.reinterpretCast(biased); }, Event::wrap},
        {"stripScaling", Op::never, [](auto& a) { a.stripScaling(); }},
        {"extremes", Op::never, [](auto& a) { a.getMaxSIValue(), a.getMinSIValue(); }},
        {"reads", Op::never,
         [](auto& a) { std::unique_ptr<double[]> const values(a.getAllRWDoubleValues()); }},
        {"output type", Op::never, [](auto& a) { a.setDataTypeForBinaryOpOutput(s(9)); }},
        {"setNumberOfElements", Op::never, [](auto& a) { a.setNumberOfElements(1200); }},
        {"to fewer", Op::never, [](auto& a) { a.setNumberOfElements(1); }},
        {"setSIArray", Op::never, [](auto& a) { a.setSIArray(lent.data()); }},
        {"setNDims", Op::never, [](auto& a) { a.setNDims(4); }},
        {"setDims", Op::never, [](auto& a) { a.setDims(fourDims.data()); }},
        {"record", Op::never,
         [](auto& a) { a.setFixedExponent(5), a.setIsSigned(true), a.setOverflowMode(wrap), a.setIndex(1); }},
        {"setWordLength", Op::never, [](auto& a) { a.setWordLength(a.getWordLength() - 1); }},
        {"to another bucket", Op::never, [](auto& a) { a.setWordLength(300); }},
        {"reallocate", Op::perPart,
         [](auto& a) { a.setDataTypeComplexityAndReAllocateData(biased, a.isComplex()); }},
        {"and copy", Op::perPart,
         [](auto& a) { a.setDataTypeComplexityReAllocateAndCopyData(biased, a.isComplex()); }},
    };
    return all;
}

/// Elements 1, 2, 3 with imaginary parts -1, -2, -3; or these and no other.
Number three(Type const& type, RecordingClient& client)
{
    return numberOf(type, {{1, -1}, {2, -2}, {3, -3}}, client);
}
bool isAsThreeWas(Number const& a, Type const& type)
{
    return elementsOf(a) == Elements{{1, -1}, {2, -2}, {3, -3}} && a.getDataType() == type &&
           dimsOf(a) == Dims{1, 3} && a.getIndex() == 0 && !a.dataIsExternal() &&
           a.getOverflowMode() == wrap && a.getRoundMode() == floor_;
}

// A new number is filled through its own quantizer, which tells of each part; a hook that throws leaks
// nothing.
TEST(Lifetime, ZeroFillTellsAndMayThrow)
{
    for (Operation const& operation : operations())
        for (std::size_t const count : {1U, 3U, 251U, 600U})
            for (bool const isComplex : {false, true}) {
                std::size_t const parts = isComplex ? 2 * count : count, times[] = {0, 1, count, parts};
                Events const wanted(times[operation.zeros], operation.ofBiased);
                for (std::size_t const throwAt :
                     {RecordingClient::never, std::size_t{0}, wanted.size() / 2}) {
                    SCOPED_TRACE(testing::Message() << operation.name << ' ' << count << isComplex
                                                    << ", throwing at " << throwAt);
                    long const before = liveBlocks();
                    bool thrown = false, right = true;
                    {
                        RecordingClient client;
                        std::vector<double> const values(parts, 305.0);
                        Number a(values.data(), biased, client, count, floor_, fxpModeOverflowSaturate,
                                 isComplex);
                        client.throwAt = throwAt;
                        try {
                            operation.run(a);
                        } catch (RecordingClient::Thrown const&) {
                            thrown = true;
                        }
                        right = thrown || client.events() == wanted;
                    }
                    EXPECT_EQ(thrown, throwAt < wanted.size());
                    EXPECT_TRUE(right);
                    if (parts <= 500) { // workers keep blocks of their own
                        EXPECT_EQ(liveBlocks(), before);
                    }
                }
            }
}

// Each single allocation fails once: nothing leaks, and the number is what it was.
TEST(Lifetime, AllocationsFailOneByOne)
{
    long failures = 0;
    for (Type const& type : {s(8), s(40, -3), s(100), s(200)})
        for (Operation const& operation : operations())
            for (bool const hasTwin : {false, true}) {
                bool failed = true;
                for (long n = -1; failed || n == 0; ++n) { // the first run fills caches
                    SCOPED_TRACE(testing::Message() << operation.name << ' ' << type << ", allocation " << n);
                    long const before = liveBlocks();
                    {
                        RecordingClient client;
                        Number a = three(type, client), twin(a, share), other(a);
                        Number& subject = hasTwin ? a : other;
                        failed = n < 0;
                        try {
                            FailingAllocation const failure(n);
                            operation.run(subject);
                        } catch (std::bad_alloc const&) {
                            failed = true;
                            ++failures;
                            subject.setIndex(0); // left where it happened
                            EXPECT_TRUE(isAsThreeWas(subject, type));
                        }
                    }
                    if (n >= 0) {
                        EXPECT_EQ(liveBlocks(), before);
                    }
                }
            }
    EXPECT_GT(failures, 200);
}

// What gives a number storage or shape of its own leaves its twin as it was, whoever dies first.
TEST(Lifetime, TwinsPart)
{
    for (Operation const& operation : operations())
        for (Type const& type : {s(8), s(100)})
            for (bool const firstChanges : {false, true})
                for (bool const firstDies : {false, true}) {
                    SCOPED_TRACE(testing::Message()
                                 << operation.name << ' ' << type << firstChanges << firstDies);
                    RecordingClient client;
                    auto first = std::make_unique<Number>(three(type, client));
                    auto second = std::make_unique<Number>(*first, share);
                    Number& stays = firstChanges ? *second : *first;
                    operation.run(firstChanges ? *first : *second);
                    EXPECT_TRUE(isAsThreeWas(stays, type));
                    (firstDies ? first : second).reset();
                    EXPECT_TRUE(firstDies != firstChanges || isAsThreeWas(stays, type));
                }
}

// A number, a twin, the twin's twin and a deep copy die in every order. Who is left reads on, and what one
// twin writes the others read.
TEST(Lifetime, TwinsDieInEveryOrder)
{
    for (Type const& type : {s(8), s(40), s(100)})
        for (bool const isLent : {false, true}) {
            std::array<std::size_t, 4> order{0, 1, 2, 3};
            do {
                RecordingClient client;
                Elements const first{{1, -1}, {2, -2}, {3, -3}};
                Elements wanted = first;
                Storage lent = storageOf(type, first);
                std::unique_ptr<Number> numbers[4];
                numbers[0] = isLent
                                 ? std::make_unique<Number>(lent.data(), type, client, 3, floor_, wrap, true)
                                 : std::make_unique<Number>(three(type, client));
                numbers[0]->setDataTypeForBinaryOpOutput(s(9));
                (*numbers[0])[1] + *numbers[0]; // caches a type
                numbers[1] = std::make_unique<Number>(*numbers[0], share);
                numbers[2] = std::make_unique<Number>(*numbers[1], share);
                numbers[3] = std::make_unique<Number>(*numbers[0]);
                EXPECT_EQ(numbers[2]->getDataTypeForBinaryOpOutput(), s(9));
                EXPECT_FALSE(numbers[3]->isDataTypeForBinaryOpOutputUserSpecified());
                EXPECT_EQ(numbers[1]->getIndex() + numbers[2]->getIndex() + numbers[3]->getIndex(), 0U);
                for (std::size_t const dying : order) {
                    numbers[dying].reset();
                    for (std::size_t i = 0; i < 3; ++i) {
                        if (numbers[i] == nullptr) continue;
                        wanted[i] = {40 + dying, 0};
                        (*numbers[i])[i] = static_cast<double>(40 + dying);
                    }
                    for (std::size_t i = 0; i < 4; ++i)
                        EXPECT_TRUE(numbers[i] == nullptr ||
                                    elementsOf(*numbers[i]) == (i == 3 ? first : wanted));
                }
                EXPECT_EQ(lent, storageOf(type, isLent ? wanted : first));
            } while (std::ranges::next_permutation(order).found);
        }
}

} // namespace
