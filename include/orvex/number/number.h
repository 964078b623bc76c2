/// \file
/// The public value: an array of real or complex numbers of one data type.
#pragma once

#include <orvex/client/orvexclientinterface.h>
#include <orvex/foundation/export.h>
#include <orvex/foundation/fxpdatatypeprop.h>
#include <orvex/foundation/numberutils.h>
#include <orvex/number_body/numberbody.h>

#include <memory>
#include <string>
#include <vector>

namespace ORVEX::array_engine
{
enum class Bits;
enum class Comparison;
} // namespace ORVEX::array_engine

namespace ORVEX
{

/// An array of elements of one type, with the rounding mode, the overflow mode and the client that govern
/// every store into it. A single value is an array of one element.
///
/// The array has a cursor, which even const operations move: scalar operations act on the element at each
/// operand's cursor, operations named `array...` on all elements. Nothing checks the cursor against the
/// count. Elements stand column by column. In flat arrays of doubles a complex value takes two places, the
/// real part first.
///
/// Assignment, `a = b`, stores b's element at its cursor into a's element at its cursor, converting to a's
/// type; it does not copy the array. So a Number is wrong in containers that assign, and with std::swap, by
/// design. There is no move either, since output types do not travel with a copy.
///
/// The client is held by address and must outlive the number. What it hears of a store, OrvexClientInterface
/// tells; what it throws passes through. An array operation that ends so keeps the elements stored before,
/// and its operands' cursors stay where they were at that moment. Results take modes and client from the left
/// operand and stand at cursor 0. A result is first filled with real-world 0.0 through its own quantizer,
/// which a type with a bias may report.
///
/// Of a boolean or an unknown mode there is no body: such a number may be made and destroyed, and anything
/// else throws std::logic_error. Memory exhaustion throws std::bad_alloc. Shapes that do not agree, and bit
/// indices out of range, throw kvxDiagnosticException. A number is not safe for concurrent use.
class ORVEX_API Number
{
public:
    /// One real element.
    Number(double value, fxpDataTypeProp const& type, OrvexClientInterface& client,
           fxpModeRounding_tag const& round, fxpModeOverflow_tag const& overflow);
    /// `count` elements, in a row. With isComplex the array holds 2 x count doubles, interleaved.
    Number(double const* values, fxpDataTypeProp const& type, OrvexClientInterface& client,
           unsigned long long count, fxpModeRounding_tag const& round, fxpModeOverflow_tag const& overflow,
           bool isComplex);
    /// One complex element.
    Number(double re, double im, fxpDataTypeProp const& type, OrvexClientInterface& client,
           fxpModeRounding_tag const& round, fxpModeOverflow_tag const& overflow);
    /// `count` complex elements, in a row.
    Number(double const* re, double const* im, fxpDataTypeProp const& type, OrvexClientInterface& client,
           unsigned long long count, fxpModeRounding_tag const& round, fxpModeOverflow_tag const& overflow);
    /// Wraps the caller's array of stored integers, which is never freed and must outlive the number. It is
    /// read and written as the container that the word length selects: 8, 16, 32 or 64 bits (`long long`),
    /// above that `unsigned long long` chunks; double, or float for single. It must be aligned for that.
    Number(void* storedData, fxpDataTypeProp const& type, OrvexClientInterface& client,
           unsigned long long count, fxpModeRounding_tag const& round, fxpModeOverflow_tag const& overflow,
           bool isComplex);
    /// All elements real-world 0.0, nDims sizes as given; their product is not checked against the count.
    Number(unsigned long long count, unsigned long long nDims, unsigned long long const* dims,
           fxpDataTypeProp const& type, OrvexClientInterface& client, fxpModeRounding_tag const& round,
           fxpModeOverflow_tag const& overflow, bool isComplex);
    /// A deep copy at cursor 0, without output types.
    Number(Number const& other);
    /// A second handle on the same elements, with a cursor of its own at 0 and the same output types.
    Number(Number const& other, NumberUtils::CopyIndexOnly);
    /// Every element converted to another type, with other modes.
    Number(Number const& other, fxpDataTypeProp const& type, fxpModeRounding_tag const& round,
           fxpModeOverflow_tag const& overflow);
    /// Frees the elements unless they are the caller's or another handle shares them.
    ~Number();

    /// \name Shape
    ///@{

    /// Count, dimensions and sizes. A complex element counts once.
    unsigned long long getNumberOfElements() const;
    unsigned long long getNDims() const;
    unsigned long long const* getDims() const;     ///< at least two sizes; valid until the shape changes
    unsigned long long getNumberOfRows() const;    ///< the first size
    unsigned long long getNumberOfColumns() const; ///< the second size
    bool isScalar() const;                         ///< exactly one element
    /// No elements at all.
    bool isEmpty() const;
    bool isVector() const; ///< two dimensions, one of them of size 1
    bool isRow() const;    ///< two dimensions, the first of size 1
    bool isColumn() const; ///< two dimensions, the second of size 1
    /// Have the elements imaginary parts?
    bool isComplex() const;
    /// Have they none?
    bool isReal() const;
    bool isSameSize(Number const& other) const; ///< count, number of dimensions and every size agree
    int getNumChunks() const;                   ///< 64-bit chunks per part
    void
    setNumberOfElements(unsigned long long count); ///< keeps the first elements; the sizes stay as they are
    void setNDims(unsigned long long n);           ///< another n makes all sizes 1 until setDims
    void setDims(unsigned long long const* dims);  ///< as many as getNDims says
    ///@}

    /// \name Cursor
    ///@{

    /// The element that scalar operations act on, counted from 0, column by column.
    void setIndex(unsigned long long index) const;
    unsigned long long getIndex() const;                     ///< the element's number
    Number const& operator[](unsigned long long index) const ///< sets the cursor
    {
        body().setIndex(index);
        return *this;
    }
    Number& operator[](unsigned long long index) ///< sets the cursor
    {
        body().setIndex(index);
        return *this;
    }
    ///@}

    /// \name Type and modes
    /// The setters change the record and the modes alone, never the stored integers.
    ///@{

    /// A field of the type record, a mode or the client; see fxpDataTypeProp. Lengths in bits.
    fxpDataTypeProp const& getDataType() const;
    bool isSigned() const;
    void setIsSigned(bool isSigned);
    int getWordLength() const;
    int getFractionLength() const;
    void setFractionLength(int bits);
    int getFixedExponent() const;
    void setFixedExponent(int exponent);
    double getSlope() const;
    void setSlope(double slope); ///< in normal form: factor in [1, 2)
    double getSlopeAdjustmentFactor() const;
    void setSlopeAdjustmentFactor(double factor);
    double getBias() const;
    void setBias(double bias);
    fxpModeRounding_tag getRoundMode() const;
    void setRoundMode(fxpModeRounding_tag mode);
    fxpModeOverflow_tag getOverflowMode() const;
    void setOverflowMode(fxpModeOverflow_tag mode);
    OrvexClientInterface& getFxpClient() const;
    /// Which kind of type it is.
    bool isFixed() const;
    bool isScaledDouble() const;
    bool isScaledType() const; ///< fixed or scaled double
    bool isFloat() const;      ///< double or single
    /// Which kind of type it is.
    bool isDouble() const;
    /// Which kind of type it is.
    bool isSingle() const;
    /// Which kind of type it is.
    bool isBoolean() const;
    ///@}

    /// \name Reading the element at the cursor
    /// RW is the real-world value, SI the stored integer, Imag the imaginary part.
    ///@{

    /// The real-world value (RW) or the stored integer (SI), as a double: rounded, where it has more than 53
    /// significant bits. Imag: of the imaginary part; 0 of a real number.
    double getRWDoubleValue() const;
    double getImagRWDoubleValue() const;
    double getSIDoubleValue() const;
    double getImagSIDoubleValue() const;
    long long
    getSIArrayValueSigned() const; ///< as the container holds it; of a multi-word number the low 64 bits
    unsigned long long getSIArrayValueUnsigned() const;     ///< the same 64 bits
    long long getImagSIArrayValueSigned() const;            ///< of the imaginary part
    unsigned long long getImagSIArrayValueUnsigned() const; ///< of the imaginary part
    ///@}

    ///@{
    /// Reads the whole array into `out`, or into a new array that the caller frees with delete[]; the result
    /// is that array. Count values, 2 x count, interleaved, if complex.
    double* getAllRWDoubleValues(double* out = nullptr) const;
    double* getAllSIDoubleValues(double* out = nullptr) const;
    float* getAllRWSingleValues(float* out = nullptr) const;
    ///@}

    /// \name Storage
    ///@{

    /// The stored integers, in the container that the word length selects; see the constructor that wraps an
    /// array.
    void const* getSIArray() const;
    void setSIArray(void* data); ///< adopts the caller's array, as the external constructor does
    void copyDataIntoSIArray(void const* data, unsigned long long count); ///< `count` elements of this layout
    /// Are the elements the caller's?
    bool dataIsExternal() const;
    /// All elements in hexadecimal, three blanks between. The full container is written; the word length only
    /// fills. "Need to implement" of complex, floating and scaled-double numbers.
    std::string getSIArrayInHex() const;
    ///@}

    /// \name Writing
    ///@{

    Number& operator=(double const& value); ///< the element at the cursor; clears an imaginary part
    Number&
    operator=(double const* values); ///< the same, and the second double into the imaginary part if complex
    Number& operator=(Number const& other); ///< one element, converted; see above
    void setValue(double const* values);    ///< all elements; in parallel above 500 (250 complex)
    /// All elements of source, converted to target's type, in parallel above 500. A source of one element
    /// fills the target. Above 500 elements a floating or scaled-double source or target is not converted at
    /// all, and a real source leaves the imaginary parts of a complex target. Throws
    /// IndexAssignElementCountMismatch.
    static void arrayEquals(Number& target, Number const& source);
    /// The element at the cursor becomes the largest value of the type.
    void setMaxRWValue();
    /// The element at the cursor becomes the least value of the type.
    void setMinRWValue();
    void setMinPositiveRWValue(); ///< one unit in the last place
    Number getMaxSIValue() const; ///< a real scalar of the type without scaling
    Number getMinSIValue() const; ///< a real scalar of the type without scaling
    ///@}

    /// \name Type changes
    ///@{

    /// Within the present storage (up to 8, 16, 32, 64 bits, or the same number of chunks) the record alone
    /// changes. Otherwise all values, slope factor and bias are lost; an external number is left as it is.
    void setWordLength(int bits);
    void setDataTypeComplexityAndReAllocateData(fxpDataTypeProp const& type, bool isComplex); ///< values lost
    void setDataTypeComplexityReAllocateAndCopyData(fxpDataTypeProp const& type,
                                                    bool isComplex); ///< converted
    Number stripScaling() const; ///< the same stored integers without scaling; Floor and Wrap
    /// The stored integers as another type: copied where mode and signedness allow it, else converted as
    /// integers. Floor and Wrap.
    Number reinterpretCast(fxpDataTypeProp const& type) const;
    Number rescale(fxpDataTypeProp const& type) const; ///< the same stored integers with another meaning
    ///@}

    /// \name Parts
    ///@{

    Number real() const;       ///< of the element at the cursor
    Number imag() const;       ///< of the element at the cursor
    Number realArray() const;  ///< of all; leaves this cursor on the last element
    Number& imagArray() const; ///< of all; made with new, the caller deletes it
    Number transpose() const;  ///< two-dimensional; leaves this cursor on the last element
    Number ctranspose() const; ///< transposed and conjugated
    void disp() const;         ///< writes the real values and the type to std::cout
    ///@}

    /// \name Output types
    /// In which types `+`, `-` and `*` compute, where this is the left operand.
    ///@{

    /// The output type of binary operations: BinaryOpOutput is the type of the result, NonAssignmentOpPlus
    /// that of sums and differences, NonAssignmentOpTimes that of products. A sum or product type that the
    /// user has not set is a cache of the full-precision rule for the last right operand's type. With nothing
    /// set or cached the getters answer the record of createBadFxpDtpProp; the flag is the test to make
    /// first.
    fxpDataTypeProp const& getDataTypeForBinaryOpOutput() const;
    void setDataTypeForBinaryOpOutput(fxpDataTypeProp const& type) const;
    void resetDataTypeForBinaryOpOutput() const;
    bool isDataTypeForBinaryOpOutputUserSpecified() const;
    fxpDataTypeProp const& getDataTypeForNonAssignmentOpPlus() const;
    void setDataTypeForNonAssignmentOpPlus(fxpDataTypeProp const& type) const;
    void resetDataTypeForNonAssignmentOpPlus() const;
    bool isDataTypeForNonAssignmentOpPlusUserSpecified() const;
    fxpDataTypeProp const& getDataTypeForNonAssignmentOpTimes() const;
    void setDataTypeForNonAssignmentOpTimes(fxpDataTypeProp const& type) const;
    void resetDataTypeForNonAssignmentOpTimes() const;
    bool isDataTypeForNonAssignmentOpTimesUserSpecified() const;
    ///@}

    /// \name Arithmetic
    /// With types (w1, f1, s1), (w2, f2, s2) of word length, fraction length, signedness the full-precision
    /// sum and difference have sign s1 or s2, fraction length max(f1, f2) and word length
    /// max(w1 - f1, w2 - f2) + max(f1, f2) + 1; the product has f1 + f2 and w1 + w2. Floating and
    /// scaled-double operands have no arithmetic here: a text on std::cout, or nothing.
    ///@{

    /// The elements at both cursors, in the output types set on this number or else in full precision.
    Number operator+(Number const& other) const;
    Number operator-(Number const& other) const;
    Number operator*(Number const& other) const;
    Number& operator+=(Number const& other); ///< in this type and modes; the other is converted into it first
    Number& operator-=(Number const& other); ///< likewise
    Number& operator*=(Number const& other); ///< likewise
    /// a / b, rounded and wrapped or saturated once, in `type` and the modes of a. There is no operator/,
    /// since no type holds every quotient.
    static Number divide(Number const& a, Number const& b, fxpDataTypeProp const& type);
    ///@}

    /// \name Arithmetic of arrays
    /// Element by element. An operand of one element meets every element of the other, at its cursor; other
    /// shapes must agree, or ArrayDimMustAgree is thrown. The operands' cursors are left on their last
    /// element.
    ///@{

    /// Computes in the types given; the result is then stored in `outputType`, where there is one, in a
    /// second rounding. Both operands of a sum or difference are first brought into `sumType`.
    static Number arrayPlus(Number const& a, Number const& b, fxpDataTypeProp const& sumType);
    /// In full precision, whatever types are set on a.
    static Number arrayPlus(Number const& a, Number const& b);
    static Number arrayPlus(Number const& a, Number const& b, fxpDataTypeProp const& sumType,
                            fxpDataTypeProp const& outputType);
    /// In the plus type of a.
    static Number arrayMinus(Number const& a, Number const& b);
    static Number arrayMinus(Number const& a, Number const& b, fxpDataTypeProp const& sumType);
    static Number arrayMinus(Number const& a, Number const& b, fxpDataTypeProp const& sumType,
                             fxpDataTypeProp const& outputType);
    /// In full precision, whatever types are set on a.
    static Number arrayTimes(Number const& a, Number const& b);
    static Number arrayTimes(Number const& a, Number const& b, fxpDataTypeProp const& productType);
    static Number arrayTimes(Number const& a, Number const& b, fxpDataTypeProp const& productType,
                             fxpDataTypeProp const& outputType);
    static Number arrayTimes(Number const& a, Number const& b, fxpDataTypeProp const& productType,
                             fxpDataTypeProp const& sumType, fxpDataTypeProp const& outputType);
    static Number arrayDivide(Number const& a, Number const& b,
                              fxpDataTypeProp const& type); ///< complex if a is
    /// In place; a receiver of one element takes the other's element 0 alone. Cursors stay as they were.
    Number& arrayPlusEquals(Number const& other);
    ///@}

    /// \name Comparison
    ///@{

    /// By value, across types. With an unordered result only != is true. A fixed number reads as equal to any
    /// floating or scaled-double one.
    bool operator==(Number const& other) const;
    bool operator!=(Number const& other) const;
    bool operator<(Number const& other) const;
    bool operator>(Number const& other) const;
    bool operator<=(Number const& other) const;
    bool operator>=(Number const& other) const;
    ///@}

    /// \name Comparison of arrays
    ///@{

    /// One bool per element into `out`, or into a new array that the caller frees with delete[]; the result
    /// is that array. A scalar operand is read at element 0. Throws ArrayDimMustAgree, also for empty
    /// operands. Cursors stay as they were. arrayIsEqual alone runs in parallel above 500 elements; it then
    /// compares stored integers and exponents alone, not slope factors and biases, and writes nothing for a
    /// floating or scaled-double operand (a new array is false throughout).
    bool* arrayIsEqual(Number const& other, bool* out = nullptr) const;
    bool* arrayIsNotEqual(Number const& other, bool* out = nullptr) const;
    bool* arrayIsLessThan(Number const& other, bool* out = nullptr) const;
    bool* arrayIsGreaterThan(Number const& other, bool* out = nullptr) const;
    bool* arrayIsLessThanOrEqualTo(Number const& other, bool* out = nullptr) const;
    bool* arrayIsGreaterThanOrEqualTo(Number const& other, bool* out = nullptr) const;

    ///@}

    /// \name Bit logic
    ///@{

    /// On stored integers; scaling plays no part. The scalar forms return all of a with element 0 changed.
    static Number bitAnd(Number const& a, Number const& b);
    static Number bitOr(Number const& a, Number const& b);
    static Number bitXor(Number const& a, Number const& b);
    static Number bitCmp(Number const& a);
    static Number arrayBitAnd(Number const& a, Number const& b);
    static Number arrayBitOr(Number const& a, Number const& b);
    static Number arrayBitXor(Number const& a, Number const& b);
    static Number arrayBitCmp(Number const& a);

    ///@}

    /// \name Single bits
    ///@{

    /// Bits are counted from 1 at the least significant. Results are unsigned 1-bit numbers. An index below 1
    /// or above the word length throws bitIndexOutOfRange, after earlier indices of a list have taken effect.
    Number bitGet(int bit) const;
    Number getLSB() const;
    Number getMSB() const;
    Number arrayGetLSB() const;
    Number arrayGetMSB() const;
    /// Of a scalar: each listed bit. Of an array: one bit per element; one index serves all.
    Number arrayBitGet(std::vector<int> const& bits) const;
    void bitSet(int bit, bool value);
    void arrayBitSet(std::vector<int> const& bits);
    void arrayBitSet(std::vector<int> const& bits, std::vector<bool> const& values);

    ///@}

    /// \name Shifts and rotations
    ///@{

    /// Counts are in bits. Array forms leave the cursor on the last element. A rotation by the scalar form is
    /// right for element 0; on another element of an array the array form is the one to use.
    void bitShiftRightArith(unsigned count);
    void bitShiftRightLogical(unsigned count);
    void bitShiftLeftLogical(unsigned count); ///< wraps, silently
    void bitShiftArith(int count); ///< left by a positive count; saturates if the overflow mode does
    void arrayBitShiftRightArith(unsigned count);
    void arrayBitShiftRightLogical(unsigned count);
    void arrayBitShiftLeftLogical(unsigned count);
    void arrayBitShiftArith(int count);
    void bitRotateLeft(unsigned count);
    void bitRotateRight(unsigned count);
    void arrayBitRotateLeft(unsigned count);
    void arrayBitRotateRight(unsigned count);
    ///@}

protected:
    ///@{
    /// What bitAnd, bitOr, bitXor and bitCmp do, in place, on the element at the cursor.
    void bitAndEqual(Number const& other);
    void bitOrEqual(Number const& other);
    void bitXorEqual(Number const& other);
    void bitCmp();
    ///@}

private:
    explicit Number(std::unique_ptr<NumberBody> body);

    static std::unique_ptr<NumberBody> createAllZeroNumberBodyWithSpecifiedType(
        unsigned long long count, unsigned long long nDims, unsigned long long const* dims,
        fxpDataTypeProp const& type, OrvexClientInterface& client, fxpModeRounding_tag round,
        fxpModeOverflow_tag overflow, bool isComplex, bool isOverwritten = false);
    void set(fxpDataTypeProp const& type, bool isComplex);
    Number zeroLike(fxpDataTypeProp const& type, fxpModeRounding_tag round, fxpModeOverflow_tag overflow,
                    bool isComplex) const;
    /// For a store of every part, before which the client has heard of its zeros.
    Number newScalar(fxpDataTypeProp const& type, bool isComplex, unsigned long long nDims = 2) const;
    bool newWordLengthIsInSameBucket(int bits) const;
    template <class Part>
    Number partArray(Part part) const;

    fxpDataTypeProp const& getDataTypeForNonAssignmentOpPlus(Number const& other) const;
    fxpDataTypeProp const& getDataTypeForNonAssignmentOpTimes(Number const& other) const;
    template <class Compute>
    Number computedIn(fxpDataTypeProp const& type, bool isComplex, Compute compute) const;
    void isProductOf(Number const& a, Number const& b) { body().isProductOf(&a.body(), &b.body()); }
    void isQuotientOf(Number const& a, Number const& b) { body().isQuotientOf(&a.body(), &b.body()); }
    void imagEquals(Number const& other) { body().imagEquals(&other.body()); }
    void imagPlusEquals(Number const& other) { body().imagPlusEquals(&other.body()); }
    void isComplexProductOf(Number const& a, Number const& b, fxpDataTypeProp const& productType);
    template <class Compute, class InBlocks>
    static Number elementwise(Number const& a, Number const& b, fxpDataTypeProp const& type, bool isComplex,
                              Compute compute, InBlocks inBlocks);
    static void assignSerially(Number& target, Number const& source);
    Number convertedSerially(fxpDataTypeProp const& type) const;
    template <class Test>
    bool* compareArrays(Number const& other, bool* out, array_engine::Comparison comparison, Test test) const;
    template <class Combine>
    static Number combineBitsOfArrays(Number const& a, Number const& b, array_engine::Bits operation,
                                      Combine combine);
    template <class F>
    void forEachElement(F f) const;
    void checkBit(int bit) const;
    Number bitsOfArray(std::vector<int> const& bits) const;
    int rotationCount(unsigned count) const;
    void rotate(int count, bool left);
    void rotateArray(unsigned count, bool left);

    NumberBody& body() const
    {
        if (!body_) throwNoBody();
        return *body_;
    }
    [[noreturn]] static void throwNoBody();

    std::unique_ptr<NumberBody> body_;
    struct OutputTypes;
    OutputTypes& outputTypes() const;
    mutable std::unique_ptr<OutputTypes> outputTypes_; ///< null until a type is set or cached
};

} // namespace ORVEX
