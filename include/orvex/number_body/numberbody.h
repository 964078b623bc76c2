/// \file
/// The contract of a number's body: storage and arithmetic of one representation.
#pragma once

#include <orvex/client/orvexclientinterface.h>
#include <orvex/foundation/export.h>
#include <orvex/foundation/fxpdatatypeprop.h>
#include <orvex/foundation/numberutils.h>

#include <cstddef>
#include <cstdint>
#include <memory>
#include <new>
#include <string>

namespace ORVEX::number_body
{
struct SharedBlock;
}
namespace ORVEX::array_engine
{
enum class Container : std::uint8_t;
}

/// An array of elements of one data type, with the modes and the client that govern every store into it, a
/// cursor and a shape. Scalar operations act on the element at the cursor; an operation with another body
/// reads that body's element at its own cursor. Only setValue, conjugate and the operations named `array...`
/// walk the array.
///
/// There is one final class per representation, chosen by NumberBodyFactory. Reading and const operations of
/// one body may run at the same time; nothing else may.
///
/// Events of a store go to the client as OrvexClientInterface tells. A body of floating-point or
/// scaled-double values lacks most arithmetic: what it does not have does nothing, or prints one line on
/// std::cout where told.
class ORVEX_API NumberBody
{
public:
    NumberBody(NumberBody const&) = delete;
    NumberBody& operator=(NumberBody const&) = delete;

    // The virtual operations stand in the order of their slots. Those that are not pure do nothing here and
    // give 0, 0.0 or false unless told otherwise.

    virtual ~NumberBody(); ///< gives up the storage, which goes with the last body that uses it

    virtual double getRWDoubleValue() const = 0; ///< real-world value of the real part
    virtual double getImagRWDoubleValue() const; ///< real-world value of the imaginary part
    virtual double getSIDoubleValue() const = 0; ///< stored integer of the real part
    virtual double getImagSIDoubleValue() const; ///< stored integer of the imaginary part
    virtual void const* getSIArray() const = 0;  ///< the storage; this body's or the caller's if external
    virtual std::string getSIArrayInHex() const; ///< "Need to implement" where a representation has no text
    virtual unsigned long long
    getSIArrayValueUnsigned() const = 0;                 ///< stored integer, extended by its container
    virtual long long getSIArrayValueSigned() const = 0; ///< the same 64 bits
    ///@{
    /// The stored integer at an element index (single-word) or a chunk index (multi-word).
    virtual long long getSIArrayValueSignedAt(unsigned long long at) const;
    virtual unsigned long long getSIArrayValueUnsignedAt(unsigned long long at) const;
    ///@}
    virtual double getRawDoubleValue() const; ///< the stored double of a floating or scaled-double body
    ///@{
    /// The same of the imaginary part.
    virtual unsigned long long getImagSIArrayValueUnsigned() const;
    virtual long long getImagSIArrayValueSigned() const;
    virtual long long getImagSIArrayValueSignedAt(unsigned long long at) const;
    virtual unsigned long long getImagSIArrayValueUnsignedAt(unsigned long long at) const;
    virtual double getImagRawDoubleValue() const;
    ///@}

    /// Adopts the caller's array, laid out as this body's storage and aligned for its words, and becomes
    /// external. The array is never freed here and must outlive its use.
    virtual void setSIArray(void* data) = 0;
    /// Copies `count` elements' worth of bytes to the start of the storage.
    virtual void copyDataIntoSIArray(void const* data, unsigned long long count) = 0;
    virtual int getNumChunks() const; ///< 64-bit chunks per part: 1 unless multi-word

    /// Stores all elements from real-world values, interleaved real and imaginary if complex. In parallel
    /// above 500 elements (250 complex).
    virtual void setValue(double const* values) = 0;
    virtual void assignDouble(double const* value) = 0;     ///< stores the real part; clears an imaginary one
    virtual void assignNumber(NumberBody const* other) = 0; ///< stores the other's element, converting
    virtual void assignImagDouble(double const* value);     ///< stores the imaginary part alone
    /// Real fixed-point bodies: takes the other's imaginary stored integer as it is, or 0 of a real other.
    virtual void assignImagOf(NumberBody const* other) = 0;
    virtual void conjugate(); ///< negates every imaginary part of the array, silently
    /// Fixed point of up to 64 bits.
    virtual bool isSingleChunk() const;
    /// Fixed point of more than 64 bits.
    virtual bool isMultiChunk() const;
    virtual unsigned long long getChunkOffsetOfCursor() const; ///< place of the cursor's element, in chunks
    /// Has it imaginary parts?
    virtual bool isComplex() const;

    ///@{
    /// The element at the cursor and the other's, in this type and modes: the other is converted into it
    /// first.
    virtual void plusEquals(NumberBody const* other) = 0;
    virtual void minusEquals(NumberBody const* other) = 0;
    virtual void timesEquals(NumberBody const* other);
    ///@}
    virtual void imagEquals(NumberBody const* other);     ///< imaginary part := the other's real value
    virtual void imagPlusEquals(NumberBody const* other); ///< imaginary part += the other's real value
    virtual void isProductOf(NumberBody const* a, NumberBody const* b);  ///< a complex factor goes first
    virtual void isQuotientOf(NumberBody const* a, NumberBody const* b); ///< b's real value divides

    /// Keeps the first elements and zeroes new ones; shape and external flag stay as they are.
    virtual void setNumberOfElements(unsigned long long count) = 0;
    ///@{
    /// The element at the cursor becomes the largest or the least stored integer, or 1.
    virtual void setMaxRWValue() = 0;
    virtual void setMinRWValue() = 0;
    virtual void setMinPositiveRWValue() = 0;
    ///@}
    /// By value, across types, imaginary parts too.
    virtual bool isEqualTo(NumberBody const* other) const = 0;
    virtual int
    compareTo(NumberBody const* other) const = 0; ///< -1, 0, 1, and 2 for unordered; real parts only

    ///@{
    /// Bit by bit on the stored integer at the cursor.
    virtual void bitAndEqual(NumberBody const* other) = 0;
    virtual void bitOrEqual(NumberBody const* other) = 0;
    virtual void bitXorEqual(NumberBody const* other) = 0;
    virtual void bitCmp() = 0;
    ///@}
    ///@{
    /// One bit of the stored integer at the cursor, counted from 1 at the least significant.
    virtual bool bitGet(int bitFromOne) const = 0;
    virtual void bitSet(int bitFromOne, bool value) = 0;
    ///@}
    ///@{
    /// Shifts the stored integer at the cursor, by a count in bits.
    virtual void bitShiftRightArith(unsigned count) = 0;
    virtual void bitShiftRightLogical(unsigned count) = 0;
    virtual void bitShiftLeftLogical(unsigned count) = 0;
    ///@}
    virtual void bitShiftArith(int count) = 0; ///< right by a positive count, left by a negative one

    ///@{
    /// Equality, and assignment, of `count` elements in parallel; a body of one element stands for an array.
    virtual void arrayCompareParallel(NumberBody const* other, bool* out, unsigned long long count) const = 0;
    virtual void arrayAssignParallel(NumberBody const* other, unsigned long long count);
    ///@}

    unsigned long long numberOfElements() const
    {
        return numberOfElements_;
    } ///< a complex element counts once
    /// Has it exactly one element?
    bool isScalar() const { return numberOfElements_ == 1; }
    /// The type of the elements.
    fxpDataTypeProp const& dataType() const { return dataType_; }
    fxpDataTypeProp& dataType() { return dataType_; } ///< changing the record changes no stored integer
    ///@{
    /// The modes that govern every store.
    fxpModeRounding_tag roundMode() const { return roundMode_; }
    void setRoundMode(fxpModeRounding_tag mode) { roundMode_ = mode; }
    fxpModeOverflow_tag overflowMode() const { return overflowMode_; }
    void setOverflowMode(fxpModeOverflow_tag mode) { overflowMode_ = mode; }
    ///@}
    /// Who hears of every store; not owned.
    OrvexClientInterface& client() const { return *client_; }
    unsigned long long index() const { return index_; } ///< the cursor; nothing checks it against the count
    /// Moves the cursor.
    void setIndex(unsigned long long index) { index_ = index; }
    /// Is the storage the caller's?
    bool dataIsExternal() const { return dataIsExternal_; }

    /// How many sizes there are.
    unsigned long long nDims() const { return nDims_; }
    /// The sizes, at least two of them: a missing second one is 1. Valid until the shape changes.
    unsigned long long const* dims() const { return largeDims_ ? largeDims_.get() : smallDims_; }
    void setNDims(unsigned long long n);          ///< makes room for n sizes, all 1 until setDims
    void setDims(unsigned long long const* dims); ///< copies nDims sizes
    unsigned long long useCount() const;          ///< bodies that share this storage

    void const* storage() const { return data_; } ///< what getSIArray answers
    /// Bytes of storage for an element, both parts included.
    std::size_t bytesPerElement() const { return bytesPerElement_; }
    ORVEX::array_engine::Container container() const { return container_; } ///< what one part is stored in
    void clear();                              ///< zeroes the storage, byte by byte
    void copyRawFrom(NumberBody const& other); ///< copies stored bytes, as far as both arrays have them

    /// What a body is made from.
    struct Spec {
        fxpDataTypeProp const& type;  ///< of the elements
        OrvexClientInterface& client; ///< kept by address
        unsigned long long count;     ///< elements
        fxpModeRounding_tag round;    ///< of every store
        fxpModeOverflow_tag overflow; ///< of every store
        bool isExternal = false;      ///< the storage is the caller's; otherwise the body gets its own, unset
        void* external = nullptr;     ///< that storage
    };

    /// Bytes for the elements that the body starts with. They stand behind the body in one block of memory.
    struct ElementBytes {
        std::size_t bytes; ///< of all elements together
    };
    /// A block for a body and its elements.
    static void* operator new(std::size_t bodyBytes, ElementBytes);
    static void operator delete(void* body, ElementBytes) noexcept; ///< after a constructor that threw
    /// Frees the block unless a sharing copy still uses the elements in it; the last of these frees it then.
    static void operator delete(NumberBody* body, std::destroying_delete_t);

protected:
    /// Shape {1, count}.
    NumberBody(Spec const& spec, std::size_t bytesPerElement, ORVEX::array_engine::Container container);
    /// The storage of `other`, shared; the same shape; cursor 0.
    NumberBody(NumberBody const& other, ORVEX::NumberUtils::CopyIndexOnly);

    /// The storage, for derived classes.
    void* data() const { return data_; }
    /// The caller's array becomes the storage.
    void adopt(void* external);
    void resize(unsigned long long count);                   ///< keeps the first elements and zeroes new ones
    void copyIn(void const* from, unsigned long long count); ///< `count` elements

private:
    friend class NumberBodyFactory;

    void replaceBlock(ORVEX::number_body::SharedBlock* fresh);

    unsigned long long numberOfElements_;
    fxpDataTypeProp dataType_;
    fxpModeRounding_tag roundMode_;
    fxpModeOverflow_tag overflowMode_;
    OrvexClientInterface* client_;
    unsigned long long index_ = 0;
    bool dataIsExternal_;
    ORVEX::array_engine::Container container_;
    std::size_t bytesPerElement_;
    unsigned long long nDims_ = 2;
    unsigned long long smallDims_[2];
    std::unique_ptr<unsigned long long[]> largeDims_; ///< for more than two sizes
    ORVEX::number_body::SharedBlock* shared_;         ///< use count and, unless external, the elements
    void* data_;
};

namespace ORVEX
{
using ::NumberBody;
}
