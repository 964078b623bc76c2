/// \file
/// Scalars and arrays up to 64 bits: against loops written by hand for the very types, and against SystemC.
#include "support/contest.h"
#include "support/data.h"
#include "support/handloop.h"

#include <orvex/number/cast.h>
#include <orvex/number/number.h>

#include <cstring>
#include <memory>
#include <type_traits>

#ifdef ORVEX_BENCH_SYSTEMC
#include "support/systemc.h"
extern "C" int sc_main(int, char**) { return 0; } // which its library asks for
#endif

namespace orvexbench
{

namespace
{

using ORVEX::Number;
using State = benchmark::State;

constexpr auto nearest = fxpModeRoundingNearest;
constexpr auto saturate = fxpModeOverflowSaturate;
constexpr auto wrap = fxpModeOverflowWrap;

fxpDataTypeProp signedType(int bits, int fractionLength) { return {true, bits, fractionLength}; }

/// A number on these stored integers, which nothing writes to: targets are numbers of their own.
template <class T>
Number over(T const* words, std::size_t n, fxpDataTypeProp const& type, bool isComplex = false)
{
    return Number(const_cast<T*>(words), type, client, isComplex ? n / 2 : n, nearest, saturate, isComplex);
}
template <class T>
Number over(std::vector<T> const& words, int fractionLength, bool isComplex = false)
{
    return over(words.data(), words.size(), signedType(8 * sizeof(T), fractionLength), isComplex);
}

template <class T, class F>
Contestant byHand(F f)
{
    return [f](State& state) {
        auto const out = std::make_unique<T[]>(million);
        wholeArray(state, million, [&] { benchmark::DoNotOptimize(handLoop(million, out.get(), f)); });
    };
}

/// out[i] := f(a[i], b[i], events)
template <class T, class A, class B, class F>
Contestant byHand(std::vector<A> const& a, std::vector<B> const& b, F f)
{
    return byHand<T>(
        [=, a = a.data(), b = b.data()](std::size_t i, unsigned& events) { return f(a[i], b[i], events); });
}

template <class F>
void forEachRounding(F f)
{
    [&]<std::size_t... i>(std::index_sequence<i...>)
    {
        (f(std::integral_constant<fxpModeRounding_tag, allRoundings[i].mode>{}, allRoundings[i].name), ...);
    }
    (std::make_index_sequence<allRoundings.size()>{});
}

// Doubles in and out

Contestant setValue(fxpDataTypeProp const& type, fxpModeRounding_tag round, fxpModeOverflow_tag overflow,
                    double events = 0, std::size_t n = million)
{
    return [=](State& state) {
        double const* const x = reals(events).data();
        double const before = heapInUse();
        Number target(x, type, client, n, round, overflow, false);
        double const bytes = (heapInUse() - before) / static_cast<double>(n);
        wholeArray(
            state, n, [&] { target.setValue(x); }, bytes);
    };
}

template <class T>
void contestSetValue()
{
    constexpr int bits = 8 * sizeof(T);
    double const scale = std::ldexp(1.0, bits - 1);
    double const* const x = reals(0).data();
    auto const type = signedType(bits, bits - 1);
    fxpDataTypeProp const scaled(true, bits, 1.25, 1 - bits, 0.125);
    std::string const title = "setValue into " + std::to_string(bits) + " bits";
    Contest saturating(title + ", saturate"), wrapping(title + ", wrap"), slope(title + ", slope and bias");
    for (Contest* const contest : {&saturating, &wrapping, &slope}) {
        double const ratio = contest == &slope ? 4 : 2;
        bits < 64 ? contest->goal(ratio) : contest->goal(10, ours);
    }
    forEachRounding([&](auto round, char const* name) {
        saturating.enter(ours, setValue(type, round, saturate), name);
        wrapping.enter(ours, setValue(type, round, wrap), name);
        slope.enter(ours, setValue(scaled, round, saturate), name);
        if constexpr (bits < 64) {
            auto const loop = [name](Contest& contest, auto f) { contest.enter("loop", byHand<T>(f), name); };
            loop(saturating, [=](std::size_t i, unsigned& events) {
                return storeReal<T, round, true>(x[i], scale, events);
            });
            loop(wrapping, [=](std::size_t i, unsigned& events) {
                return storeReal<T, round, false>(x[i], scale, events);
            });
            loop(slope, [=](std::size_t i, unsigned& events) {
                return storeReal<T, round, true>((x[i] - 0.125) / 1.25, scale, events);
            });
        }
#ifdef ORVEX_BENCH_SYSTEMC
        enterSystemc(saturating, bits, round, saturate, name);
        enterSystemc(wrapping, bits, round, wrap, name);
#endif
    });
    Contest(title + ", 1% overflow")
        .enter(ours, setValue(type, nearest, saturate, 0.01))
        .enter("no overflow", setValue(type, nearest, saturate))
        .goal(2, "no overflow");
}

void contestWideSetValue()
{
    for (int const bits : {100, 128}) {
        Contest contest("setValue into " + std::to_string(bits) + " bits, saturate");
        contest.goal(10, ours);
        for (auto const& [name, mode] : allRoundings)
            contest.enter(ours, setValue(signedType(bits, bits - 1), mode, saturate), name);
    }
}

template <class T>
void contestRead()
{
    constexpr int fraction = 8 * sizeof(T) - 4;
    double const unit = std::ldexp(1.0, -fraction);
    auto const contest = [=](char const* what, auto real, auto method, double scale) {
        using Real = decltype(real);
        auto const loop = [=, words = integers<T>(fraction, 1).data()](std::size_t i, unsigned&) {
            return static_cast<Real>(words[i] * scale);
        };
        Contest(what + (" of int" + std::to_string(8 * sizeof(T))))
            .enter(ours,
                   [=](State& state) {
                       Number const source = over(integers<T>(fraction, 1), fraction);
                       std::vector<Real> out(million);
                       wholeArray(state, million, [&] { (source.*method)(out.data()); });
                   })
            .enter("loop", byHand<Real>(loop))
            .goal(2);
    };
    contest("getAllRWDoubleValues", 0.0, &Number::getAllRWDoubleValues, unit);
    contest("getAllSIDoubleValues", 0.0, &Number::getAllSIDoubleValues, 1.0);
    contest("getAllRWSingleValues", 0.0f, &Number::getAllRWSingleValues, unit);
}

// Array arithmetic on operands of different fraction lengths

/// run(a, b) of two numbers on these words.
template <class T, class U, class Run>
Contestant onArrays(std::vector<T> const& a, int fractionA, std::vector<U> const& b, int fractionB, Run run,
                    bool isComplex = false)
{
    return [=, &a, &b](State& state) {
        Number x = over(a, fractionA, isComplex);
        Number const y = over(b, fractionB, isComplex);
        wholeArray(state, million, [&] { run(x, y); });
    };
}

template <class T, class Wide>
void contestArithmetic()
{
    constexpr int bits = 8 * sizeof(T);
    constexpr int fa = bits - 4;
    constexpr int fb = bits - 8;
    std::vector<T> const& a = integers<T>(bits - 4, 1); // sums, products and quotients stay in range
    std::vector<T> const& b = integers<T>(bits - 8, 2);
    std::string const tail = ", int" + std::to_string(bits);
    auto const type = signedType(bits, fa);
    auto const sum = [](T x, T y) { return Wide{x} + Wide{y} * 16; };
    auto const difference = [](T x, T y) { return Wide{x} - Wide{y} * 16; };
    auto const product = [](T x, T y) { return Wide{x} * y; };
    auto const quotient = [](T x, T y) { return Wide{x} * (Wide{1} << (fb - 4)) / y; };
    auto const whole = [](auto f) { return [=](T x, T y, unsigned&) { return f(x, y); }; };
    auto const cut = [](auto f) {
        return [=](T x, T y, unsigned& events) { return store<T, true>(f(x, y), events); };
    };
    auto const contest = [&](std::string const& title, auto run, Contestant const& loop,
                             bool isComplex = false) {
        return Contest(title + tail)
            .enter(ours, onArrays(a, fa, b, fb, run, isComplex))
            .enter("loop", loop)
            .goal(isComplex ? 8 : 3);
    };
    auto const plusInto = [=](auto& x, auto& y) { Number::arrayPlus(x, y, type); };

    [[maybe_unused]] Contest sums = contest(
        "arrayPlus, full precision", [](auto& x, auto& y) { Number::arrayPlus(x, y); },
        byHand<Wide>(a, b, whole(sum)));
    [[maybe_unused]] Contest cutSums =
        contest("arrayPlus into the type of a", plusInto, byHand<T>(a, b, cut(sum)));
    contest("arrayPlus into the type of a, complex, a part", plusInto, byHand<T>(a, b, cut(sum)), true);
    contest(
        "arrayTimes into the type of a, complex, a part",
        [=](auto& x, auto& y) { Number::arrayTimes(x, y, type, type); },
        [=, a = a.data(), b = b.data()](State& state) {
            struct Pair {
                T re, im;
            };
            auto const out = std::make_unique<Pair[]>(million / 2);
            auto const one = [=](std::size_t i, unsigned& events) {
                auto const part = [&](T x, T y) -> Wide {
                    return storeShifted<T>(product(x, y), fb, events);
                };
                T const re = a[2 * i], im = a[2 * i + 1], reB = b[2 * i], imB = b[2 * i + 1];
                return Pair{store<T, true>(part(re, reB) - part(im, imB), events),
                            store<T, true>(part(re, imB) + part(im, reB), events)};
            };
            wholeArray(state, million,
                       [&] { benchmark::DoNotOptimize(handLoop(million / 2, out.get(), one)); });
        },
        true);
    contest(
        "arrayMinus into the type of a", [=](auto& x, auto& y) { Number::arrayMinus(x, y, type); },
        byHand<T>(a, b, cut(difference)));
    [[maybe_unused]] Contest products = contest(
        "arrayTimes, full precision", [](auto& x, auto& y) { Number::arrayTimes(x, y); },
        byHand<Wide>(a, b, whole(product)));
    [[maybe_unused]] Contest cutProducts = contest(
        "arrayTimes into the type of a, Nearest", [=](auto& x, auto& y) { Number::arrayTimes(x, y, type); },
        byHand<T>(a, b,
                  [=](T x, T y, unsigned& events) { return storeShifted<T>(product(x, y), fb, events); }));
    contest(
        "arrayDivide, Zero",
        [=](auto& x, auto& y) {
            x.setRoundMode(fxpModeRoundingZero);
            Number::arrayDivide(x, y, signedType(bits, fb));
        },
        byHand<T>(a, b, cut(quotient)))
        .goal(12, ours);
    contest(
        "arrayBitXor", [](auto& x, auto& y) { Number::arrayBitXor(x, y); },
        byHand<T>(a, b, cut([](T x, T y) { return x ^ y; })));

    std::vector<T> negated(b);
    for (T& word : negated) word = static_cast<T>(-word);
    Contest("arrayPlusEquals" + tail) // there and back, so that sums stay in range
        .enter(ours,
               [=, &a, &b](State& state) {
                   Number x(over(a, fa), type, nearest, saturate); // its own
                   Number const y = over(b, fb), z = over(negated, fb);
                   wholeArray(state, 2 * million, [&] { x.arrayPlusEquals(y).arrayPlusEquals(z); });
               })
        .goal(3)
        .enter("loop", [=, &a, &b](State& state) {
            std::vector<T> x(a), z(a);
            auto const add = [=](T* out, T const* p, T const* q) {
                auto const one = [=](std::size_t i, unsigned& events) {
                    return cut(sum)(p[i], q[i], events);
                };
                benchmark::DoNotOptimize(handLoop(million, out, one));
            };
            wholeArray(state, 2 * million, [&] {
                add(z.data(), x.data(), b.data());
                add(x.data(), z.data(), negated.data());
            });
        });
#ifdef ORVEX_BENCH_SYSTEMC
    auto const rival = [&](Contest& to, auto out, auto f) {
        using Out = decltype(out);
        to.enter("sc_fixed", bySystemc<Systemc<bits, fa>, Systemc<bits, fb>, Out>(a, fa, b, fb, f));
    };
    auto const add = [](auto& x, auto& y, auto& out) { out = x + y; };
    auto const multiply = [](auto& x, auto& y, auto& out) { out = x * y; };
    rival(sums, Systemc<bits + 5, fa>{}, add);
    rival(cutSums, Systemc<bits, fa>{}, add);
    rival(products, Systemc<2 * bits, fa + fb>{}, multiply);
    rival(cutProducts, Systemc<bits, fa>{}, multiply);
#endif
}

void contestComparisons()
{
    auto const& a = integers<std::int16_t>(12, 1);
    auto const& b = integers<std::int32_t>(20, 2);
    Contest contest("comparison of int16 with int32, other fraction length");
    contest.goal(3);
    auto const compare = [&](char const* name, auto method, auto test) {
        auto const run = [method, out = std::shared_ptr<bool[]>(new bool[million])](auto& x, auto& y) {
            (x.*method)(y, out.get());
        };
        auto const one = [test](std::int32_t x, std::int32_t y, unsigned&) { return test(x * 256, y); };
        contest.enter(ours, onArrays(a, 12, b, 20, run), name).enter("loop", byHand<bool>(a, b, one), name);
#ifdef ORVEX_BENCH_SYSTEMC
        auto const rival = [test](auto& x, auto& y, bool& out) { out = test(x, y); };
        contest.enter("sc_fixed", bySystemc<Systemc<16, 12>, Systemc<32, 20>, bool>(a, 12, b, 20, rival),
                      name);
#endif
    };
    compare("==", &Number::arrayIsEqual, std::equal_to<>());
    compare("!=", &Number::arrayIsNotEqual, std::not_equal_to<>());
    compare("<", &Number::arrayIsLessThan, std::less<>());
    compare(">", &Number::arrayIsGreaterThan, std::greater<>());
    compare("<=", &Number::arrayIsLessThanOrEqualTo, std::less_equal<>());
    compare(">=", &Number::arrayIsGreaterThanOrEqualTo, std::greater_equal<>());
}

// Casts of arrays

Contestant assignment(fxpDataTypeProp const& to, std::vector<std::int32_t> const& words,
                      fxpDataTypeProp const& from, std::size_t n = million)
{
    return [=, &words](State& state) {
        Number const source = over(words.data(), n, from);
        Number target(source, to, nearest, saturate);
        wholeArray(state, n, [&] { Number::arrayEquals(target, source); });
    };
}

void contestCasts()
{
    using Word = std::int16_t;
    auto const& words = integers<std::int32_t>(22, 1);
    auto const from = signedType(32, 20);
    auto const to = signedType(16, 12);
    auto const loop = byHand<Word>(
        words, words, [](int x, int, unsigned& events) { return storeShifted<Word>(x, 8, events); });
    Contest equals("arrayEquals, int32 (20) to int16 (12), Nearest");
    equals.enter(ours, assignment(to, words, from)).enter("loop", loop).goal(2);
#ifdef ORVEX_BENCH_SYSTEMC
    equals.enter("sc_fixed", bySystemc<Systemc<32, 20>, Systemc<32, 20>, Systemc<16, 12>>(
                                 words, 20, words, 20, [](auto& x, auto&, auto& out) { out = x; }));
#endif
    auto const cast = [=](auto& x, auto&) { ORVEX::Cast(to, client, nearest, saturate)(x); };
    Contest("Cast, int32 (20) to int16 (12), Nearest")
        .enter(ours, onArrays(words, 20, words, 20, cast))
        .enter("loop", loop)
        .goal(2);
    Contest("arrayEquals, equal types, int32")
        .goal(1.1, "memcpy")
        .enter(ours, assignment(from, words, from))
        .enter("memcpy", [&](State& state) {
            std::vector<std::int32_t> out(million);
            wholeArray(state, million, [&] { std::memcpy(out.data(), words.data(), 4 * million); });
        });
    fxpDataTypeProp const sloped(true, 16, 1.25, -12, 0.5);
    Contest("arrayEquals, other slope (one stage), int32 to int16")
        .enter(ours, assignment(sloped, words, {true, 32, 1.5, -20, 0.5}))
        .goal(8, ours);
    Contest("arrayEquals, other slope and bias (two stages), int32 to int16")
        .enter(ours, assignment(sloped, words, {true, 32, 1.5, -20, 0.0}))
        .goal(20, ours);
    Contest("arrayEquals, 128 (60) to 100 (50) bits, Nearest").goal(10, ours).enter(ours, [](State& state) {
        double const* const x = reals(0).data();
        Number const source(x, signedType(128, 60), client, million, nearest, saturate, false);
        Number target(x, signedType(100, 50), client, million, nearest, saturate, false);
        wholeArray(state, million, [&] { Number::arrayEquals(target, source); });
    });

    // Two threads, and the first count that is done in parallel beside the last that is not.
    auto const type = signedType(16, 15);
    auto const isEqual = [out = std::shared_ptr<bool[]>(new bool[million])](auto& x, auto& y) {
        x.arrayIsEqual(y, out.get());
    };
    auto const threads = [](char const* work, Contestant const& run, char const* rival,
                            Contestant const& other) {
        return Contest(work, Threads::all).enter(ours, run).enter(rival, other).goal(1.1, rival);
    };
    auto const both = [&](char const* work, Contestant const& run) {
        threads(work, run, "one thread", onOneThread(run)).goal(1 / 1.7, "one thread");
    };
    both("setValue into 16 bits, all threads", setValue(type, nearest, saturate));
    both("arrayEquals, int32 to int16, all threads", assignment(to, words, from));
    both("arrayIsEqual, int32, all threads", onArrays(words, 20, words, 20, isEqual));
    threads("setValue into 16 bits, 501 elements", setValue(type, nearest, saturate, 0, 501), "500 serial",
            setValue(type, nearest, saturate, 0, 500));
    threads("arrayEquals, int32 to int16, 501 elements", assignment(to, words, from, 501), "500 serial",
            assignment(to, words, from, 500));
}

// Scalars: numbers made on the spot, and elements of arrays at the cursors

void contestScalars()
{
    for (int const bits : {16, 64, 128}) {
        Contest contest("scalar made from a double and destroyed, " + std::to_string(bits) + " bits");
        contest.goal(40, ours);
        contest.enter(ours, [=](State& state) {
            double const* const x = reals(0).data();
            auto const make = [x, type = signedType(bits, bits - 1)](std::size_t i) {
                return Number(x[i], type, client, nearest, saturate);
            };
            std::vector<Number> kept;
            kept.reserve(1000);
            double const before = heapInUse();
            for (std::size_t i = 0; i < kept.capacity(); ++i) kept.push_back(make(i));
            eachOf(state, million, make, (heapInUse() - before) / 1000 + sizeof(Number));
        });
#ifdef ORVEX_BENCH_SYSTEMC
        contest.enter("sc_fix", [=](State& state) {
            double const* const x = reals(0).data();
            eachOf(state, million,
                   [&](std::size_t i) { return sc_dt::sc_fix(x[i], bits, 1, sc_dt::SC_RND, sc_dt::SC_SAT); });
        });
#endif
    }
    auto const contest = [](char const* work, double most, auto run, [[maybe_unused]] auto rival) {
        auto const& a = integers<std::int32_t>(20, 1);
        auto const& b = integers<std::int32_t>(14, 2);
        Contest to(work);
        if (most > 0) to.goal(most, ours);
        to.enter(ours, [=, &a, &b](State& state) {
            Number x(over(a, 20), signedType(32, 20), nearest, saturate); // its own
            Number const y = over(b, 20);
            eachOf(state, million, [&](std::size_t i) { return run(x[i], y[i]); });
        });
#ifdef ORVEX_BENCH_SYSTEMC
        to.enter("sc_fix", [=, &a, &b](State& state) {
            sc_dt::sc_fxtype_context const type({32, 12, sc_dt::SC_RND, sc_dt::SC_SAT});
            auto x = systemcValues<sc_dt::sc_fix>(a, 20);
            auto const y = systemcValues<sc_dt::sc_fix>(b, 20);
            eachOf(state, systemcCount, [&](std::size_t i) { return rival(x[i], y[i]); });
        });
#endif
    };
    // A goal of 0 is none.
    auto const same = [&](char const* work, double most, auto run) { contest(work, most, run, run); };
    same("scalar a + b, full precision, int32", 60, [](auto& a, auto& b) { return a + b; });
    same("scalar a * b, full precision, int32", 0, [](auto& a, auto& b) { return a * b; });
    same("scalar a += b, equal types, int32", 10, [](auto& a, auto& b) { a += b; });
    same("scalar a < b, int32", 0, [](auto& a, auto& b) { return a < b; });
    contest(
        "scalar divide, int32", 0, [](auto& a, auto& b) { return Number::divide(a, b, signedType(48, 20)); },
        [](auto& a, auto& b) { return a / b; });
}

// A filter of 32 taps: x of 16 bits, products of 32, and a sum of 40 that saturates at each tap

constexpr std::size_t taps = 32;
constexpr std::size_t samples = 16384;

ORVEX_BENCH_CLONES unsigned filterByHand(std::int16_t const* x, std::int16_t const* h, long long* out)
{
    constexpr long long most = (1LL << 39) - 1;
    constexpr std::size_t block = 512;
    unsigned events = 0;
    for (std::size_t begin = 0; begin < samples; begin += block) {
        long long sum[block] = {};
        for (std::size_t k = 0; k < taps; ++k)
            for (std::size_t i = 0; i < block; ++i) {
                long long const next = sum[i] + x[begin + i + k] * h[k];
                long long const cut = next > most ? most : next < -most - 1 ? -most - 1 : next;
                events += cut != next;
                sum[i] = cut;
            }
        std::copy_n(sum, block, out + begin);
    }
    return events;
}

void contestFilter()
{
    auto const first = [](int bits, unsigned seed, std::size_t n) {
        return std::vector<std::int16_t>(integers<std::int16_t>(bits, seed).data(),
                                         integers<std::int16_t>(bits, seed).data() + n);
    };
    auto const h = first(12, 2, taps);
    auto const x = first(14, 1, samples + taps);
    auto const input = signedType(16, 15);
    Contest arrays("filter of 32 taps, whole arrays, a sample");
    auto const inArrays = [=](int sumBits) {
        return [=](State& state) {
            std::vector<double> const zeros(samples);
            wholeArray(state, samples, [&] {
                Number sum(zeros.data(), signedType(sumBits, 30), client, samples, nearest, saturate, false);
                for (std::size_t k = 0; k < taps; ++k)
                    sum.arrayPlusEquals(
                        Number::arrayTimes(over(&x[k], samples, input), over(&h[k], 1, input)));
            });
        };
    };
    Contest("filter of 32 taps, whole arrays, a sum of 100 bits, a sample").enter(ours, inArrays(100));
    arrays.enter(ours, inArrays(40)).goal(20, ours).enter("loop", [=](State& state) {
        std::vector<long long> out(samples);
        wholeArray(state, samples,
                   [&] { benchmark::DoNotOptimize(filterByHand(x.data(), h.data(), out.data())); });
    });
    auto const eachSample = [](State& state, std::size_t n, auto& xs, auto& hs, auto& sum) {
        auto const all = [&] {
            for (std::size_t i = 0; i < n; ++i) {
                sum = 0.0;
                for (std::size_t k = 0; k < taps; ++k) sum += xs[i + k] * hs[k];
            }
        };
        wholeArray(state, n * taps, all, 0, n * taps);
    };
    Contest scalars("filter of 32 taps, sample by sample, a tap");
    scalars.enter(ours, [=](State& state) {
        Number const xs = over(x, 15);
        Number const hs = over(h, 15);
        Number sum(0.0, signedType(40, 30), client, nearest, saturate);
        eachSample(state, samples, xs, hs, sum);
    });
#ifdef ORVEX_BENCH_SYSTEMC
    auto const rival = [=](State& state) {
        auto const values = [](auto& words) {
            std::vector<Systemc<16, 15>> list;
            for (std::int16_t const word : words) list.emplace_back(std::ldexp(word, -15));
            return list;
        };
        auto const xs = values(x);
        auto const hs = values(h);
        Systemc<40, 30> sum;
        eachSample(state, samples / 16, xs, hs, sum);
    };
    scalars.enter("sc_fixed", rival);
#endif
}

} // namespace

void defineContests()
{
    contestScalars();
    contestSetValue<std::int8_t>();
    contestSetValue<std::int16_t>();
    contestSetValue<std::int32_t>();
    contestSetValue<long long>();
    contestWideSetValue();
    contestRead<std::int16_t>();
    contestRead<std::int32_t>();
    contestArithmetic<std::int16_t, std::int32_t>();
    contestArithmetic<std::int32_t, long long>();
    contestComparisons();
    contestCasts();
    contestFilter();
}

} // namespace orvexbench
