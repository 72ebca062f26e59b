// Fast row output for long sweeps: text gathered in a fixed buffer and written in large
// blocks, numbers as their shortest round-trip text, nothing allocated per row.
#pragma once

#include <algorithm>
#include <bit>
#include <charconv>
#include <cmath>
#include <cstdint>
#include <cstdio>
#include <cstring>
#include <memory>
#include <string_view>

#include "NumberText.h"

namespace kvdata {

// kShortestRoom characters, loaded whole and then stored: a text written just before may
// overlap the place it is copied to. (Two vector registers; a character array would be
// copied through the stack.)
[[gnu::always_inline]] inline void CopyWindow(char* to, const char* from) {
    using Half = char __attribute__((vector_size(kShortestRoom / 2)));
    Half first, second;
    std::memcpy(&first, from, sizeof first);
    std::memcpy(&second, from + sizeof first, sizeof second);
    std::memcpy(to, &first, sizeof first);
    std::memcpy(to + sizeof first, &second, sizeof second);
}

// The text of a grid value (see RowBuffer::Row::Decimal) at `at`, at most kShortestLength
// characters; returns its end.
inline char* WriteDecimal(char* at, double value, int decimals) {
    constexpr double kPowers[] = {1e0, 1e1, 1e2, 1e3, 1e4, 1e5, 1e6, 1e7, 1e8, 1e9, 1e10, 1e11, 1e12, 1e13, 1e14, 1e15};
    if (decimals < 0 || decimals > 15) return WriteShortest(at, value);
    const double scaled = value * kPowers[decimals];
    if (!(std::abs(scaled) < 0x1p53)) return WriteShortest(at, value);
    auto n = static_cast<std::int64_t>(std::llround(scaled));
    if (static_cast<double>(n) / kPowers[decimals] != value || (n == 0 && std::signbit(value)))
        return WriteShortest(at, value);
    if (n < 0) {
        *at++ = '-';
        n = -n;
    }
    while (decimals > 0 && n % 10 == 0) {
        n /= 10;
        --decimals;
    }
    // The digits with at least one before the point, then the point moved in.
    char digits[24];
    char* end = std::to_chars(digits, digits + sizeof digits, n).ptr;
    const auto length = static_cast<int>(end - digits);
    if (length <= decimals) {
        *at++ = '0';
        *at++ = '.';
        for (int k = length; k < decimals; ++k) *at++ = '0';
        std::memcpy(at, digits, static_cast<std::size_t>(length));
        return at + length;
    }
    std::memcpy(at, digits, static_cast<std::size_t>(length - decimals));
    at += length - decimals;
    if (decimals > 0) {
        *at++ = '.';
        std::memcpy(at, end - decimals, static_cast<std::size_t>(decimals));
        at += decimals;
    }
    return at;
}

class RowBuffer {
    struct Memo;

public:
    // Blocks of `size` characters. 256 KiB stay in the processor's cache for the kernel's
    // copy: blocks of 1 MiB cost a sweep of 1.7 GB two seconds more of system time.
    explicit RowBuffer(std::FILE* out, std::size_t size = std::size_t{1} << 18)
        : m_out(out),
          m_size(std::max(size, 2 * kRoom)),
          m_buffer(std::make_unique_for_overwrite<char[]>(m_size)) {
        m_at = m_buffer.get();
        m_limit = m_at + m_size - kRoom;
        for (Memo& memo : m_memo) memo.Reset();
        for (Memo& memo : m_recent) memo.Reset();
        for (Memo& memo : m_decimalMemo) memo.Reset();
    }
    RowBuffer(const RowBuffer&) = delete;
    RowBuffer& operator=(const RowBuffer&) = delete;
    ~RowBuffer() { Flush(); }

    // One row, written through a cursor of its own that the compiler keeps in registers
    // (the text written could not be told apart from members of the buffer), the writes
    // inlined; the row ends with the cursor.
    //
    // From one row to the next most numbers of a sweep stay as they were: the text of the
    // number at each place of a row is kept and copied while its value keeps every bit.
    // A row that lays out its numbers differently only loses the copies.
    class Row {
    public:
        explicit Row(RowBuffer& buffer) : m_buffer(&buffer), m_at(buffer.m_at), m_limit(buffer.m_limit) {}
        Row(const Row&) = delete;
        Row& operator=(const Row&) = delete;
        ~Row() { m_buffer->m_at = m_at; }

        [[gnu::always_inline]] void Char(char c) {
            Room();
            *m_at++ = c;
        }
        [[gnu::always_inline]] void Text(std::string_view text) {
            if (text.size() > kShortestRoom) {
                m_at = m_buffer->Write(m_at, text);
                return;
            }
            Room();
            std::memcpy(m_at, text.data(), text.size());
            m_at += text.size();
        }
        [[gnu::always_inline]] void Number(double value) {
            Room();
            Put(value);
        }
        // A short text (a separator, a key) and a number after it, with one check for room.
        [[gnu::always_inline]] void Field(std::string_view before, double value) {
            if (before.size() > kShortestRoom) {
                Text(before);
                return Number(value);
            }
            Room();
            std::memcpy(m_at, before.data(), before.size());
            m_at += before.size();
            Put(value);
        }
        [[gnu::always_inline]] void Field(char before, double value) {
            Room();
            *m_at++ = before;
            Put(value);
        }
        void Integer(long value) {
            Room();
            m_at = std::to_chars(m_at, m_at + kShortestRoom, value).ptr;
        }
        // A value of a grid that was written with `decimals` digits after the point: the
        // double nearest to n·10^-decimals is written as that decimal, as the user wrote it
        // ("0.0001", not "1e-04"), without trailing zeros; anything else as Number writes it.
        // Its text is kept as a number's is, apart from the numbers' places.
        [[gnu::always_inline]] void Decimal(double value, int decimals) {
            Room();
            Memo& memo = m_buffer->m_decimalMemo[m_decimalColumn++ % kDecimalColumns];
            const auto bits = std::bit_cast<std::uint64_t>(value);
            if (bits == memo.bits && decimals == memo.decimals) {
                CopyWindow(m_at, memo.text);
                m_at += memo.length;
                return;
            }
            const char* start = m_at;
            m_at = WriteDecimal(m_at, value, decimals);
            memo.bits = bits;
            memo.decimals = decimals;
            memo.text = start;
            memo.length = static_cast<std::uint32_t>(m_at - start);
        }
        // A JSON string: quotes, backslashes and control characters escaped; UTF-8 kept.
        void JsonString(std::string_view text) {
            Char('"');
            std::size_t plain = 0;  // the start of what needs no escape
            for (std::size_t k = 0; k < text.size(); ++k) {
                const auto c = static_cast<unsigned char>(text[k]);
                if (c >= 0x20 && c != '"' && c != '\\') continue;
                Text(text.substr(plain, k - plain));
                plain = k + 1;
                if (c >= 0x20) {
                    const char escaped[] = {'\\', static_cast<char>(c)};
                    Text({escaped, 2});
                } else {
                    const char escaped[] = {'\\', 'u', '0', '0', kHex[c >> 4], kHex[c & 15]};
                    Text({escaped, 6});
                }
            }
            Text(text.substr(plain));
            Char('"');
        }

    private:
        // Room for kRoom characters.
        [[gnu::always_inline]] void Room() {
            if (m_at > m_limit) [[unlikely]]
                m_at = m_buffer->Refill(m_at);
        }
        // A number where there is room for it.
        [[gnu::always_inline]] void Put(double value) {
            Memo& memo = m_buffer->m_memo[m_column++ % kColumns];
            const auto bits = std::bit_cast<std::uint64_t>(value);
            if (bits == memo.bits) {
                CopyWindow(m_at, memo.text);
                m_at += memo.length;
            } else {
                m_at = m_buffer->NewNumber(memo, bits, value, m_at);
            }
        }

        RowBuffer* m_buffer;
        char* m_at;
        char* m_limit;
        std::size_t m_column = 0;
        std::size_t m_decimalColumn = 0;
    };

    void Text(std::string_view text) { Row(*this).Text(text); }
    void Char(char c) { Row(*this).Char(c); }
    void Number(double value) { Row(*this).Number(value); }
    void Integer(long value) { Row(*this).Integer(value); }
    void JsonString(std::string_view text) { Row(*this).JsonString(text); }

    // What is gathered and not yet written: a short output stays whole in the buffer.
    std::string_view Pending() const { return {m_buffer.get(), static_cast<std::size_t>(m_at - m_buffer.get())}; }
    void Discard() {
        Keep();
        m_at = m_buffer.get();
    }
    void Flush() {
        Keep();
        const auto used = static_cast<std::size_t>(m_at - m_buffer.get());
        if (used != 0) std::fwrite(m_buffer.get(), 1, used, m_out);
        m_at = m_buffer.get();
    }

private:
    struct Memo {
        std::uint64_t bits;
        const char* text;  // in the buffer, or `saved` once the buffer is reused
        std::uint32_t length;
        int decimals;  // of a grid value's text
        char saved[kShortestRoom];

        void Reset() {
            bits = std::bit_cast<std::uint64_t>(0.0);
            decimals = -1;
            length = 1;
            saved[0] = '0';
            text = saved;
        }
    };
    static_assert(kShortestLength <= kShortestRoom);

    // A row often repeats a value at another place (two equal magnitudes, the largest of
    // three): the numbers last written are looked up by value before one is written anew.
    // A text stays where it is written and is copied from there, once the stores have
    // long reached the cache.
    [[gnu::noinline]] char* NewNumber(Memo& memo, std::uint64_t bits, double value, char* at) {
        Memo& recent = m_recent[(bits * 0x9E3779B97F4A7C15u) >> 60];
        if (recent.bits == bits) {
            CopyWindow(at, recent.text);
            memo.length = recent.length;
        } else {
            memo.length = static_cast<std::uint32_t>(WriteShortest(at, value) - at);
            recent.bits = bits;
            recent.length = memo.length;
            recent.text = at;
        }
        memo.bits = bits;
        memo.text = at;
        return at + memo.length;
    }
    [[gnu::noinline]] char* Refill(char* at) {
        m_at = at;
        Flush();
        return m_at;
    }
    [[gnu::noinline]] char* Write(char* at, std::string_view text) {
        if (text.size() > static_cast<std::size_t>(m_limit + kRoom - at)) {
            at = Refill(at);
            if (text.size() > m_size) {
                std::fwrite(text.data(), 1, text.size(), m_out);
                return at;
            }
        }
        std::memcpy(at, text.data(), text.size());
        return at + text.size();
    }
    // The texts still in the buffer, moved out before it is written over.
    void Keep() {
        const auto keep = [](Memo& memo) {
            if (memo.text == memo.saved) return;
            std::memcpy(memo.saved, memo.text, sizeof memo.saved);
            memo.text = memo.saved;
        };
        for (Memo& memo : m_memo) keep(memo);
        for (Memo& memo : m_recent) keep(memo);
        for (Memo& memo : m_decimalMemo) keep(memo);
    }

    static constexpr char kHex[] = "0123456789abcdef";
    // What a check for room makes sure of: a short text and a number after it.
    static constexpr std::size_t kRoom = 2 * kShortestRoom;
    static constexpr std::size_t kColumns = 64;  // more than the widest row has
    static constexpr std::size_t kDecimalColumns = 4;

    std::FILE* m_out;
    std::size_t m_size;
    std::unique_ptr<char[]> m_buffer;
    char* m_at;     // the end of what is gathered
    char* m_limit;  // the last place with room for kRoom characters
    Memo m_memo[kColumns];
    Memo m_recent[16];
    Memo m_decimalMemo[kDecimalColumns];
};

}  // namespace kvdata
