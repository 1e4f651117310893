// DVKeyHash: a seeded 64-bit hash of bytes.
#pragma once

#include <cstddef>
#include <cstdint>
#include <cstring>

// Every constant of the hash is secret: whoever writes a strings file cannot choose keys that collide.
// Each 16 bytes are folded with one 64 by 64 bit multiplication. Not stable between machines of
// different byte order or processes; a value that is kept must be kept together with its hash.
class DVKeyHash
{
public:
    // Seeded from the system's random source.
    static DVKeyHash random();

    uint64_t operator()(const char *bytes, std::size_t length) const
    {
        uint64_t state = m_secret[0] ^ length;
        if (length > 16) {
            const char *last = bytes + (length - 16);
            for (; bytes < last; bytes += 16)
                state = fold(read64(bytes) ^ m_secret[1], read64(bytes + 8) ^ state);
            bytes = last;
            return finish(read64(bytes), read64(bytes + 8), state);
        }
        if (length >= 8)
            return finish(read64(bytes), read64(bytes + (length - 8)), state);
        if (length >= 4)
            return finish(read32(bytes), read32(bytes + (length - 4)), state);
        if (length == 0)
            return finish(0, 0, state);
        const auto byte = [bytes](std::size_t i) { return uint64_t(static_cast<unsigned char>(bytes[i])); };
        return finish(byte(0) << 16 | byte(length / 2) << 8 | byte(length - 1), 0, state);
    }

private:
    uint64_t finish(uint64_t a, uint64_t b, uint64_t state) const
    {
        return fold(fold(a ^ m_secret[2], b ^ state) ^ m_secret[3], m_secret[1]);
    }

    static uint64_t read64(const char *bytes)
    {
        uint64_t value;
        std::memcpy(&value, bytes, sizeof value);
        return value;
    }
    static uint64_t read32(const char *bytes)
    {
        uint32_t value;
        std::memcpy(&value, bytes, sizeof value);
        return value;
    }

    // Both halves of the product.
    static uint64_t fold(uint64_t a, uint64_t b)
    {
#if defined(__SIZEOF_INT128__)
        __extension__ using Wide = unsigned __int128;
        const Wide product = Wide(a) * b;
        return uint64_t(product) ^ uint64_t(product >> 64);
#else
        const uint64_t low = (a & 0xFFFFFFFF) * (b & 0xFFFFFFFF);
        const uint64_t middle1 = (a >> 32) * (b & 0xFFFFFFFF) + (low >> 32);
        const uint64_t middle2 = (a & 0xFFFFFFFF) * (b >> 32) + (middle1 & 0xFFFFFFFF);
        const uint64_t high = (a >> 32) * (b >> 32) + (middle1 >> 32) + (middle2 >> 32);
        return (middle2 << 32 | (low & 0xFFFFFFFF)) ^ high;
#endif
    }

    uint64_t m_secret[4] = {};
};
