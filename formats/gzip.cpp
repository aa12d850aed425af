#include "formats/gzip.h"

#include <fcntl.h>
#include <unistd.h>
#include <zlib.h>

#include <algorithm>
#include <cctype>
#include <cerrno>
#include <cstring>
#include <stdexcept>

#include "host/file_io.h"

namespace KARVO {
namespace {

constexpr std::size_t kChunk = 1 << 16;
// zlib's window bits: 15 for the largest window, +16 for a gzip wrapper.
constexpr int kGzipWindow = 15 + 16;

// zlib counts its buffers in uInt; larger inputs are handed over in parts.
uInt portion(std::size_t remaining) { return static_cast<uInt>(std::min<std::size_t>(remaining, 1u << 30)); }

}  // namespace

bool isGzip(std::string_view data) {
  return data.size() >= 2 && static_cast<unsigned char>(data[0]) == 0x1f && static_cast<unsigned char>(data[1]) == 0x8b;
}

std::string gunzip(std::string_view data) {
  z_stream stream{};
  if (inflateInit2(&stream, kGzipWindow) != Z_OK) throw std::runtime_error("cannot start gzip decompression");
  std::string out;
  std::string buffer(kChunk, '\0');
  std::size_t consumed = 0;
  int result = Z_OK;
  for (;;) {
    if (stream.avail_in == 0 && consumed < data.size()) {
      stream.next_in = reinterpret_cast<Bytef*>(const_cast<char*>(data.data() + consumed));
      stream.avail_in = portion(data.size() - consumed);
      consumed += stream.avail_in;
    }
    stream.next_out = reinterpret_cast<Bytef*>(buffer.data());
    stream.avail_out = static_cast<uInt>(buffer.size());
    result = inflate(&stream, Z_NO_FLUSH);
    out.append(buffer.data(), buffer.size() - stream.avail_out);
    if (result == Z_STREAM_END) {
      const std::size_t rest = data.size() - consumed + stream.avail_in;
      // Another member follows; anything else after the end is ignored,
      // as gzip itself does with trailing zeros.
      if (rest == 0 || !isGzip(data.substr(data.size() - rest))) break;
      inflateReset(&stream);
      continue;
    }
    if (result == Z_BUF_ERROR && stream.avail_in == 0 && consumed == data.size()) break;
    if (result != Z_OK) break;
  }
  const char* message = stream.msg;
  inflateEnd(&stream);
  if (result == Z_STREAM_END) return out;
  if (result == Z_OK || result == Z_BUF_ERROR) throw std::runtime_error("gzip data ends early (truncated file?)");
  throw std::runtime_error(std::string("damaged gzip data (") + (message != nullptr ? message : "invalid data") + ")");
}

std::string gzip(std::string_view data) {
  z_stream stream{};
  if (deflateInit2(&stream, Z_DEFAULT_COMPRESSION, Z_DEFLATED, kGzipWindow, 8, Z_DEFAULT_STRATEGY) != Z_OK) {
    throw std::runtime_error("cannot start gzip compression");
  }
  std::string out;
  std::string buffer(kChunk, '\0');
  std::size_t consumed = 0;
  int result = Z_OK;
  do {
    if (stream.avail_in == 0 && consumed < data.size()) {
      stream.next_in = reinterpret_cast<Bytef*>(const_cast<char*>(data.data() + consumed));
      stream.avail_in = portion(data.size() - consumed);
      consumed += stream.avail_in;
    }
    const int flush = consumed == data.size() ? Z_FINISH : Z_NO_FLUSH;
    stream.next_out = reinterpret_cast<Bytef*>(buffer.data());
    stream.avail_out = static_cast<uInt>(buffer.size());
    result = deflate(&stream, flush);
    out.append(buffer.data(), buffer.size() - stream.avail_out);
  } while (result == Z_OK || result == Z_BUF_ERROR);
  deflateEnd(&stream);
  if (result != Z_STREAM_END) throw std::runtime_error("gzip compression failed");
  return out;
}

namespace {

[[noreturn]] void fileError(const std::string& what, const std::string& path, int error) {
  throw std::runtime_error(what + " " + path + ": " + std::strerror(error));
}

// Deflates everything read from in into out.
void deflateStream(int in, int out, const std::string& source, const std::string& target) {
  z_stream stream{};
  if (deflateInit2(&stream, Z_DEFAULT_COMPRESSION, Z_DEFLATED, kGzipWindow, 8, Z_DEFAULT_STRATEGY) != Z_OK) {
    throw std::runtime_error("cannot start gzip compression");
  }
  std::string input(kChunk, '\0');
  std::string output(kChunk, '\0');
  int flush = Z_NO_FLUSH;
  try {
    while (flush != Z_FINISH) {
      const ssize_t got = ::read(in, input.data(), input.size());
      if (got < 0 && errno == EINTR) continue;
      if (got < 0) fileError("cannot read", source, errno);
      flush = got == 0 ? Z_FINISH : Z_NO_FLUSH;
      stream.next_in = reinterpret_cast<Bytef*>(input.data());
      stream.avail_in = static_cast<uInt>(got);
      do {
        stream.next_out = reinterpret_cast<Bytef*>(output.data());
        stream.avail_out = static_cast<uInt>(output.size());
        deflate(&stream, flush);
        if (!writeAll(out, std::string_view(output.data(), output.size() - stream.avail_out))) {
          fileError("cannot write", target, errno);
        }
      } while (stream.avail_out == 0);
    }
  } catch (...) {
    deflateEnd(&stream);
    throw;
  }
  deflateEnd(&stream);
}

}  // namespace

void gzipFile(const std::string& source, const std::string& target) {
  const int in = ::open(source.c_str(), O_RDONLY | O_CLOEXEC);
  if (in < 0) fileError("cannot read", source, errno);
  const std::size_t slash = target.rfind('/');
  std::string temporary =
      folderOf(target) + "/." + (slash == std::string::npos ? target : target.substr(slash + 1)) + ".XXXXXX";
  const int out = ::mkstemp(temporary.data());
  if (out < 0) {
    const int error = errno;
    ::close(in);
    fileError("cannot write", target, error);
  }
  try {
    deflateStream(in, out, source, target);
    if (::fsync(out) != 0) fileError("cannot write", target, errno);
  } catch (...) {
    ::close(in);
    ::close(out);
    ::unlink(temporary.c_str());
    throw;
  }
  ::close(in);
  const int closed = ::close(out);
  if (closed != 0 || ::rename(temporary.c_str(), target.c_str()) != 0) {
    const int error = errno;
    ::unlink(temporary.c_str());
    fileError("cannot write", target, error);
  }
}

bool hasGzipExtension(std::string_view name) {
  if (name.size() < 3) return false;
  const std::string_view end = name.substr(name.size() - 3);
  return end[0] == '.' && std::tolower(static_cast<unsigned char>(end[1])) == 'g' &&
         std::tolower(static_cast<unsigned char>(end[2])) == 'z';
}

std::string_view withoutGzipExtension(std::string_view name) {
  return hasGzipExtension(name) ? name.substr(0, name.size() - 3) : name;
}

}  // namespace KARVO
