#include "unpack/codec.h"

// The null keeps it from being empty.
static constexpr const Codec* kCodecs[] = {
#if ORVELLIS_HAS_ISAL
    &kGzipByIsal,
#endif
#if ORVELLIS_HAS_ZLIB
    &kGzipByZlib,
#endif
#if ORVELLIS_HAS_ZSTD
    &kZstd,
#endif
#if ORVELLIS_HAS_LZMA
    &kXz,
#endif
#if ORVELLIS_HAS_BZIP2
    &kBzip2,
#endif
    nullptr,
};

std::span<const Codec* const> Codecs() {
  return std::span(kCodecs).first(std::size(kCodecs) - 1);
}
