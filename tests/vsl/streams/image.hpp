// Images of streams, put together and taken apart by bytes.
#pragma once

#include <unistd.h>

#include <cstdio>
#include <cstring>
#include <fstream>
#include <iterator>
#include <string>

#include "tests/vsl/streams/drawing.hpp"

namespace image {

using Bytes = std::string;

inline Bytes saved(const drawing::Stream& stream) {
    Bytes image(static_cast<size_t>(__vslGetStreamSize(stream.get())), '\0');
    EXPECT_EQ(__vslSaveStreamM(stream.get(), image.data()), kOzkVslSuccess);
    return image;
}

template <class Number>
Bytes little_endian(Number x) {
    return Bytes(reinterpret_cast<const char*>(&x), sizeof x);
}

template <class Number>
void put(Bytes& image, size_t at, Number x) {
    std::memcpy(image.data() + at, &x, sizeof x);
}

class File {
  public:
    explicit File(const std::string& name)
        : path(std::string(OZK_BINARY_DIR "/stream_") + name + "_" + std::to_string(getpid())) {}
    ~File() { std::remove(path.c_str()); }
    void write(const Bytes& bytes) const {
        std::ofstream(path, std::ios::binary).write(bytes.data(), static_cast<std::streamsize>(bytes.size()));
    }
    Bytes read() const {
        std::ifstream file(path, std::ios::binary);
        return Bytes(std::istreambuf_iterator<char>(file), {});
    }
    const std::string path;
};

struct Loaded {
    int32_t status;
    drawing::Stream stream;
};

inline Loaded load_file(const std::string& path) {
    OzkVslStream* stream = reinterpret_cast<OzkVslStream*>(16);
    const int32_t status = __vslLoadStreamF(&stream, path.c_str(), -1);
    return {status, drawing::Stream(stream)};
}
inline Loaded load_memory(const Bytes& bytes) {
    OzkVslStream* stream = reinterpret_cast<OzkVslStream*>(16);
    const int32_t status = ozk_vsl_load_stream(&stream, bytes.data(), bytes.size());
    return {status, drawing::Stream(stream)};
}

inline void attach(const drawing::Stream& stream, uint32_t identifier, const std::string& text,
                   const uint64_t* key = nullptr) {
    void* const data = ozk_serv_allocate(text.size(), 128);
    std::memcpy(data, text.data(), text.size());
    const int32_t size = static_cast<int32_t>(text.size());
    ASSERT_EQ(__vslAddChunk(stream.get(), identifier, key, data, size), kOzkVslSuccess);
    if (stream->chunks->data != data) ozk_serv_deallocate(data);
}

}  // namespace image
