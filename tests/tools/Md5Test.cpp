#include "core/Md5.h"

#include <gtest/gtest.h>

#include <random>
#include <string>
#include <vector>

namespace tessaro::cli {
namespace {

TEST(Md5, ReferenceVectors) {
    const std::pair<std::string, std::string> vectors[] = {
        {"", "d41d8cd98f00b204e9800998ecf8427e"},
        {"a", "0cc175b9c0f1b6a831c399e269772661"},
        {"abc", "900150983cd24fb0d6963f7d28e17f72"},
        {"message digest", "f96b697d7cb7938d525a2f31aaf161d0"},
        {"abcdefghijklmnopqrstuvwxyz", "c3fcd3d76192e4007dfb496cca67e13b"},
        {"ABCDEFGHIJKLMNOPQRSTUVWXYZabcdefghijklmnopqrstuvwxyz0123456789", "d174ab98d277d9f5a5611c2c9f419d9f"},
        {"12345678901234567890123456789012345678901234567890123456789012345678901234567890",
         "57edf4a22be3c955ac49da2e2107b67a"},
        // Around the padding boundary (md5sum): 55 bytes fit the length in one block, 56 do not.
        {std::string(55, 'x'), "04364420e25c512fd958a70738aa8f72"},
        {std::string(56, 'x'), "668a72d5ba17f08e62dabcafad6db14b"},
        {std::string(64, 'x'), "c1bb4f81d892b2d57947682aeb252456"},
        {std::string(1000000, 'a'), "7707d6ae4e027c70eea2a935c2296f21"},
    };
    for (const auto& [input, digest] : vectors) {
        EXPECT_EQ(Md5::Of(reinterpret_cast<const uint8_t*>(input.data()), input.size()), digest) << input.size() << " bytes";
    }
}

TEST(Md5, ChunkingDoesNotChangeTheDigest) {
    std::mt19937 random(7);
    std::vector<uint8_t> data(4099);
    for (auto& byte : data) byte = static_cast<uint8_t>(random());
    const std::string whole = Md5::Of(data.data(), data.size());
    for (size_t chunk : {1u, 3u, 63u, 64u, 65u, 1000u}) {
        Md5 md5;
        for (size_t at = 0; at < data.size(); at += chunk) md5.Update(data.data() + at, std::min(chunk, data.size() - at));
        EXPECT_EQ(md5.Hex(), whole) << "chunk " << chunk;
    }
}

}  // namespace
}  // namespace tessaro::cli
