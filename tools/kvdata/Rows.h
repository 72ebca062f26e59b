// Fast row output for long sweeps: text gathered in a fixed buffer and written in large
// blocks, numbers as their shortest round-trip text, nothing allocated per row.
#pragma once

#include <cstdio>
#include <cstring>
#include <string_view>

#include "Cli.h"

namespace kvdata {

class RowBuffer {
public:
    explicit RowBuffer(std::FILE* out) : m_out(out) {}
    RowBuffer(const RowBuffer&) = delete;
    RowBuffer& operator=(const RowBuffer&) = delete;
    ~RowBuffer() { Flush(); }

    void Text(std::string_view text) {
        if (text.size() > kSize - m_used) Flush();
        if (text.size() > kSize) {
            std::fwrite(text.data(), 1, text.size(), m_out);
            return;
        }
        std::memcpy(m_buffer + m_used, text.data(), text.size());
        m_used += text.size();
    }
    void Char(char c) {
        if (m_used == kSize) Flush();
        m_buffer[m_used++] = c;
    }
    void Number(double value) {
        if (kSize - m_used < 32) Flush();
        m_used = static_cast<std::size_t>(AppendShortest(m_buffer + m_used, value) - m_buffer);
    }
    void Integer(long value) {
        char text[24];
        const int n = std::snprintf(text, sizeof text, "%ld", value);
        Text(std::string_view(text, static_cast<std::size_t>(n)));
    }
    // A JSON string: quotes, backslashes and control characters escaped; UTF-8 kept.
    void JsonString(std::string_view text) {
        Char('"');
        for (const char c : text) {
            if (c == '"' || c == '\\') {
                Char('\\');
                Char(c);
            } else if (static_cast<unsigned char>(c) < 0x20) {
                char escaped[8];
                std::snprintf(escaped, sizeof escaped, "\\u%04x", static_cast<unsigned>(c));
                Text(escaped);
            } else {
                Char(c);
            }
        }
        Char('"');
    }
    // What is gathered and not yet written: a short output stays whole in the buffer.
    std::string_view Pending() const { return {m_buffer, m_used}; }
    void Discard() { m_used = 0; }
    void Flush() {
        if (m_used != 0) std::fwrite(m_buffer, 1, m_used, m_out);
        m_used = 0;
    }

private:
    static constexpr std::size_t kSize = 1 << 16;
    std::FILE* m_out;
    std::size_t m_used = 0;
    char m_buffer[kSize];
};

}  // namespace kvdata
