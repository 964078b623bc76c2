/// \file
/// Wide integers: the kernels against the lowest level of GMP, and numbers in place against the integers of
/// GMP and of Boost.
#include "support/contest.h"
#include "support/data.h"

#include "multiword/chunkarith.h"
#include "multiword/chunkdivide.h"

#include <orvex/number/number.h>
#include <orvex/number_body/numberbodyfactory.h>

#include <boost/multiprecision/cpp_int.hpp>

#include <memory>

#ifdef ORVEX_BENCH_GMP
#include <boost/multiprecision/gmp.hpp>
#endif

namespace orvexbench
{

namespace
{

using namespace ORVEX::multiword;
using ORVEX::Number;
constexpr auto nearest = fxpModeRoundingNearest;
constexpr auto saturate = fxpModeOverflowSaturate;
constexpr int droppedBits = 12; // by a conversion

/// Stored integers of one type, of either sign, as many as a second-level cache holds of each operand.
struct Integers {
    fxpDataTypeProp type;
    std::size_t chunks; ///< each
    std::size_t count;
    std::vector<Chunk> magnitudes{}; ///< exactly of the bits asked for
    std::vector<Chunk> words{};      ///< two's complement, one less for a negative one
    std::vector<bool> negative{};

    Integers(int bits, int magnitudeBits, std::size_t n, unsigned seed)
        : type(true, bits, droppedBits), chunks(static_cast<std::size_t>(numChunksForWordLength(bits))),
          count(n)
    {
        std::mt19937_64 engine(seed);
        for (std::size_t i = 0; i < count; ++i) {
            negative.push_back(engine() % 2);
            for (std::size_t k = 0; k < chunks; ++k) {
                int const top =
                    magnitudeBits - 1 - static_cast<int>(k) * chunkBits; // its place in this chunk
                Chunk const highest = top >= 0 && top < chunkBits ? bitMask(top) : 0;
                magnitudes.push_back((engine() & lowMask(top)) | highest);
                words.push_back(negative.back() ? ~magnitudes.back() : magnitudes.back());
            }
        }
    }
    Chunk* operator[](std::size_t i) { return &words[i * chunks]; }
};

/// Operands of one width.
struct Operands {
    int n;                ///< chunks of a, b and small
    std::size_t operands; ///< of each kind
    Integers a, b;
    Integers wide;  ///< of twice the width; the quotient by b fits the width
    Integers small; ///< may be added to a for a long time
    fxpDataTypeProp shorterType{true, a.type.wordLength, 0};
    std::vector<Chunk> out = std::vector<Chunk>(wide.chunks);

    explicit Operands(int bits)
        : n(numChunksForWordLength(bits)), operands((1u << 21) / static_cast<unsigned>(bits)),
          a(bits, bits - 3, operands, 1), b(bits, bits - 1, operands, 2),
          wide(2 * bits, 2 * bits - 3, operands, 3), small(bits, bits - 22, operands, 4)
    {
    }
};

/// Kernels as their callers use them: the chunk count is looked at in each call.
struct Kernels : Operands {
    using Operands::Operands;

    void add(std::size_t i)
    {
        withCount(n, [&](auto count) {
            addInto<Sum::plus>(client, ChunkTarget(a[i], count), a.type, a[i], small[i], 1);
        });
    }
    void multiply(std::size_t i)
    {
        withCount(n, [&](auto count) {
            multiplyChunksFull(out.data(), 2 * count, a[i], a.type, count, b[i], b.type, count);
        });
    }
    void divide(std::size_t i)
    {
        divideChunks(client, out.data(), shorterType, wide[i], wide.type, 2 * n, b[i], b.type, n, nearest, 1);
    }
    bool compare(std::size_t i)
    {
        return withCount(
            n, [&](auto count) { return compareChunks(a[i], a.type, b[i], b.type, count, count) < 0; });
    }
    void convert(std::size_t i)
    {
        convertChunksToChunks(client, out.data(), shorterType, a[i], a.type, nearest, 1);
    }
};

/// Numbers and bodies in place; the results are scalars that are used again and again.
struct Numbers : Operands {
    using Body = std::unique_ptr<NumberBody>;
    Number x = number(a), y = number(b), summand = number(small);
    Body bodyA = body(a), bodyB = body(b), bodyWide = body(wide);
    Body product = scalar(productType(a.type, b.type)), quotient = scalar(shorterType);
    Number same{0.0, a.type, client, nearest, saturate}, shorter{0.0, shorterType, client, nearest, saturate};

    using Operands::Operands;

    static Number number(Integers& from)
    {
        return {from.words.data(), from.type, client, from.count, nearest, saturate, false};
    }
    static Body body(Integers& from)
    {
        void* const data = from.words.data();
        return Body(NumberBodyFactory::createNumberBody(data, from.type, client, from.count, nearest,
                                                        saturate, false));
    }
    static Body scalar(fxpDataTypeProp const& type)
    {
        double const zero = 0;
        return Body(NumberBodyFactory::createNumberBody(&zero, type, client, 1, nearest, saturate, false));
    }
    void add(std::size_t i) { x[i] += summand[i]; }
    void multiply(std::size_t i)
    {
        bodyA->setIndex(i);
        bodyB->setIndex(i);
        product->isProductOf(bodyA.get(), bodyB.get());
    }
    void multiplyInto(std::size_t i)
    {
        same = x[i];
        same *= y[i];
    }
    void divide(std::size_t i)
    {
        bodyWide->setIndex(i);
        bodyB->setIndex(i);
        quotient->isQuotientOf(bodyWide.get(), bodyB.get());
    }
    bool compare(std::size_t i) { return x[i] < y[i]; }
    void convert(std::size_t i) { shorter = x[i]; }
};

/// Integers of any size, of GMP or of Boost. Boost's front takes expressions apart and adds no temporary.
template <class Integer>
struct BigIntegers : Operands {
    std::vector<Integer> x = from(a), y = from(b), dividend = from(wide), summand = from(small);
    Integer result, half = Integer(1) << (droppedBits - 1), halfUnit = Integer(1) << (a.type.wordLength - 2);

    using Operands::Operands;

    static std::vector<Integer> from(Integers& integers)
    {
        std::vector<Integer> list(integers.count);
        for (std::size_t i = 0; i < list.size(); ++i) {
            for (std::size_t k = integers.chunks; k-- > 0;)
                list[i] = (list[i] << chunkBits) | integers.magnitudes[i * integers.chunks + k];
            if (integers.negative[i]) list[i] = -list[i];
        }
        return list;
    }
    void add(std::size_t i) { x[i] += summand[i]; }
    void multiply(std::size_t i) { result = x[i] * y[i]; }
    void multiplyInto(std::size_t i)
    {
        result = x[i] * y[i];
        result += halfUnit;
        result >>= a.type.wordLength - 1;
    }
    void divide(std::size_t i) { result = dividend[i] / y[i]; }
    bool compare(std::size_t i) { return x[i] < y[i]; }
    void convert(std::size_t i)
    {
        result = x[i] + half;
        result >>= droppedBits;
    }
};

#ifdef ORVEX_BENCH_GMP
/// The magnitudes as limbs.
struct Limbs : Operands {
    using List = std::vector<mp_limb_t>;
    List x = from(a), y = from(b), dividend = from(wide), summand = from(small),
         result = List(out.size() + 1), rest = result;

    using Operands::Operands;

    static List from(Integers const& integers)
    {
        return {integers.magnitudes.begin(), integers.magnitudes.end()};
    }
    mp_limb_t* at(List& list, std::size_t i) { return &list[i * a.chunks]; }
    auto add(std::size_t i) { return mpn_add_n(at(x, i), at(x, i), at(summand, i), n); }
    void multiply(std::size_t i) { mpn_mul_n(result.data(), at(x, i), at(y, i), n); }
    void divide(std::size_t i)
    {
        mpn_tdiv_qr(result.data(), rest.data(), 0, at(dividend, 2 * i), 2 * n, at(y, i), n);
    }
    bool compare(std::size_t i) { return mpn_cmp(at(x, i), at(y, i), n) < 0; }
    void convert(std::size_t i)
    {
        mpn_add_1(result.data(), at(x, i), n, mp_limb_t{1} << (droppedBits - 1));
        mpn_rshift(result.data(), result.data(), n, droppedBits);
    }
};
#endif

/// The works at one width.
class Works
{
public:
    Works(int bits, std::string const& who)
        : bits_(bits), tail_(", " + std::to_string(bits) + " bits, " + who), add_("a += b" + tail_),
          multiply_("product of twice the width" + tail_), divide_("quotient, 2n by n" + tail_),
          multiplyInto_("product of the same type, *=" + tail_), compare_("a < b" + tail_),
          convert_("12 bits dropped, Nearest" + tail_)
    {
    }
    template <class Family>
    void enter(char const* contestant)
    {
        auto const run = [=, this](Contest& contest, auto operation) {
            contest.enter(contestant, [=, bits = bits_](benchmark::State& state) {
                Family family(bits);
                eachOf(state, family.operands, [&](std::size_t i) { return operation(family, i); });
            });
        };
        run(add_, [](Family& f, std::size_t i) { return f.add(i); });
        run(multiply_, [](Family& f, std::size_t i) { return f.multiply(i); });
        if constexpr (requires(Family & f) { f.multiplyInto(0); }) // numbers alone
            run(multiplyInto_, [](Family& f, std::size_t i) { f.multiplyInto(i); });
        run(divide_, [](Family& f, std::size_t i) { return f.divide(i); });
        run(compare_, [](Family& f, std::size_t i) { return f.compare(i); });
        run(convert_, [](Family& f, std::size_t i) { return f.convert(i); });
    }

    /// What numbers in place are to reach.
    void setGoals()
    {
        if (bits_ == 128) {
            add_.goal(15, ours);
            compare_.goal(15, ours);
        }
        if (bits_ < 256) return;
        double const most = bits_ <= 1024 ? 1.5 : 3;
        multiply_.goal(most, "mpz");
        divide_.goal(most, "mpz");
    }

private:
    int bits_;
    std::string tail_;
    Contest add_, multiply_, divide_, multiplyInto_, compare_, convert_;
};

} // namespace

void defineContests()
{
    for (int const bits : {64, 100, 128, 256, 300, 1024, 4096}) {
        Works kernels(bits, "kernel");
        Works numbers(bits, "Number");
        kernels.enter<Kernels>(ours);
        numbers.enter<Numbers>(ours);
        numbers.setGoals();
#ifdef ORVEX_BENCH_GMP
        kernels.enter<Limbs>("mpn");
        numbers.enter<BigIntegers<boost::multiprecision::mpz_int>>("mpz");
#endif
        numbers.enter<BigIntegers<boost::multiprecision::cpp_int>>("cpp_int");
    }
}

} // namespace orvexbench
