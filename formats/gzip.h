// Gzip compression of whole files held in memory, with zlib.
#pragma once

#include <string>
#include <string_view>

namespace KARVO {

// True when data starts with the gzip magic bytes 1f 8b.
bool isGzip(std::string_view data);

// The uncompressed content of gzip data; several members one after the
// other (as `cat a.gz b.gz` makes) give their contents in turn. Throws
// std::runtime_error with a one-line reason for data that is damaged or
// ends early.
std::string gunzip(std::string_view data);

// data as one gzip member (default compression level, no file name or time
// in the header, so equal input gives equal bytes).
std::string gzip(std::string_view data);

// Compresses the file source into target as one gzip member, a buffer at a
// time (memory stays small however large source is): written to a temporary
// file beside target and renamed over it, so target is never half-written.
// Throws std::runtime_error with a one-line message naming the file at
// fault (nothing is left behind).
void gzipFile(const std::string& source, const std::string& target);

// True for a file name that ends in ".gz" (any case).
bool hasGzipExtension(std::string_view name);

// name without a final ".gz" (any case).
std::string_view withoutGzipExtension(std::string_view name);

}  // namespace KARVO
