#include <orvex/number_body/numberbody.h>

#include "number_body/sharedblock.h"

#include <algorithm>
#include <cstring>
#include <utility>

using ORVEX::number_body::saturatingProduct;
using ORVEX::number_body::SharedBlock;

NumberBody::NumberBody(Spec const& spec, std::size_t bytesPerElement,
                       ORVEX::array_engine::Container container)
    : numberOfElements_(spec.count), dataType_(spec.type), roundMode_(spec.round),
      overflowMode_(spec.overflow), client_(&spec.client), dataIsExternal_(spec.isExternal),
      container_(container), bytesPerElement_(bytesPerElement), smallDims_{1, spec.count},
      shared_(SharedBlock::ofBody(this)), data_(spec.isExternal ? spec.external : shared_->storage())
{
    ++shared_->useCount;
}

NumberBody::NumberBody(NumberBody const& other, ORVEX::NumberUtils::CopyIndexOnly)
    : numberOfElements_(other.numberOfElements_), dataType_(other.dataType_), roundMode_(other.roundMode_),
      overflowMode_(other.overflowMode_), client_(other.client_), dataIsExternal_(other.dataIsExternal_),
      container_(other.container_), bytesPerElement_(other.bytesPerElement_), smallDims_{1, 1},
      shared_(other.shared_), data_(other.data_)
{
    setNDims(other.nDims_);
    setDims(other.dims());
    ++shared_->useCount; // last, since nothing may throw once the storage is shared
}

NumberBody::~NumberBody() { shared_->release(); }

void* NumberBody::operator new(std::size_t bodyBytes, ElementBytes elements)
{
    SharedBlock* const block = SharedBlock::create(bodyBytes, elements.bytes);
    block->holdsBody = true;
    return block->body();
}

void NumberBody::operator delete(void* body, ElementBytes) noexcept
{
    SharedBlock::ofBody(body)->leaveBody();
}

void NumberBody::operator delete(NumberBody* body, std::destroying_delete_t)
{
    SharedBlock* const block = SharedBlock::ofBody(body);
    body->~NumberBody();
    block->leaveBody();
}

void NumberBody::replaceBlock(SharedBlock* fresh)
{
    ++fresh->useCount;
    std::exchange(shared_, fresh)->release();
}

void NumberBody::adopt(void* external)
{
    replaceBlock(SharedBlock::create(0, 0));
    data_ = external;
    dataIsExternal_ = true;
}

void NumberBody::resize(unsigned long long count)
{
    SharedBlock* const fresh = SharedBlock::create(0, saturatingProduct(count, bytesPerElement_));
    auto* const bytes = static_cast<unsigned char*>(fresh->storage());
    std::size_t const kept = data_ ? std::min(count, numberOfElements_) * bytesPerElement_ : 0;
    if (kept) std::memcpy(bytes, data_, kept);
    std::fill(bytes + kept, bytes + count * bytesPerElement_, static_cast<unsigned char>(0));
    replaceBlock(fresh);
    data_ = bytes;
    numberOfElements_ = count;
}

void NumberBody::copyIn(void const* from, unsigned long long count)
{
    if (count) std::memmove(data_, from, count * bytesPerElement_);
}

void NumberBody::copyRawFrom(NumberBody const& other)
{
    std::size_t const bytes =
        std::min(other.numberOfElements_ * other.bytesPerElement_, numberOfElements_ * bytesPerElement_);
    if (bytes) std::memmove(data_, other.data_, bytes);
}

void NumberBody::clear()
{
    if (numberOfElements_) std::memset(data_, 0, numberOfElements_ * bytesPerElement_);
}

void NumberBody::setNDims(unsigned long long n)
{
    if (n == 2 && nDims_ == 2) {
        smallDims_[0] = smallDims_[1] = 1;
        return;
    }
    std::unique_ptr<unsigned long long[]> fresh;
    if (n > 2) {
        fresh.reset(new unsigned long long[n]);
        std::fill_n(fresh.get(), n, 1ull);
    }
    largeDims_ = std::move(fresh);
    smallDims_[0] = smallDims_[1] = 1;
    nDims_ = n;
}

void NumberBody::setDims(unsigned long long const* sizes)
{
    std::copy_n(sizes, nDims_, largeDims_ ? largeDims_.get() : smallDims_);
}

unsigned long long NumberBody::useCount() const { return shared_->useCount; }

double NumberBody::getImagRWDoubleValue() const { return 0.0; }
double NumberBody::getImagSIDoubleValue() const { return 0.0; }
std::string NumberBody::getSIArrayInHex() const { return "Need to implement"; }
long long NumberBody::getSIArrayValueSignedAt(unsigned long long) const { return 0; }
unsigned long long NumberBody::getSIArrayValueUnsignedAt(unsigned long long) const { return 0; }
double NumberBody::getRawDoubleValue() const { return 0.0; }
unsigned long long NumberBody::getImagSIArrayValueUnsigned() const { return 0; }
long long NumberBody::getImagSIArrayValueSigned() const { return 0; }
long long NumberBody::getImagSIArrayValueSignedAt(unsigned long long) const { return 0; }
unsigned long long NumberBody::getImagSIArrayValueUnsignedAt(unsigned long long) const { return 0; }
double NumberBody::getImagRawDoubleValue() const { return 0.0; }
int NumberBody::getNumChunks() const { return 1; }
void NumberBody::assignImagDouble(double const*) {}
void NumberBody::conjugate() {}
bool NumberBody::isSingleChunk() const { return true; }
bool NumberBody::isMultiChunk() const { return false; }

unsigned long long NumberBody::getChunkOffsetOfCursor() const
{
    return index_ * static_cast<unsigned long long>(getNumChunks());
}

bool NumberBody::isComplex() const { return false; }
void NumberBody::timesEquals(NumberBody const*) {}
void NumberBody::imagEquals(NumberBody const*) {}
void NumberBody::imagPlusEquals(NumberBody const*) {}
void NumberBody::isProductOf(NumberBody const*, NumberBody const*) {}
void NumberBody::isQuotientOf(NumberBody const*, NumberBody const*) {}
void NumberBody::arrayAssignParallel(NumberBody const*, unsigned long long) {}
