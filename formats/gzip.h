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

// True for a file name that ends in ".gz" (any case).
bool hasGzipExtension(std::string_view name);

// name without a final ".gz" (any case).
std::string_view withoutGzipExtension(std::string_view name);

}  // namespace KARVO
