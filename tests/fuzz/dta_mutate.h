// The mutations of the data-file fuzzer and the commands each mutated file goes through. Shared by
// the driver (dta_fuzz.cpp, thousands of inputs under the sanitizers) and a smoke unit test.
#pragma once
#include <cstdint>
#include <cstdio>
#include <cstring>
#include <string>
#include <vector>

#include "data/datacmd.h"
#include "data/dataset.h"
#include "data/usecmd.h"
#include "data/xeq.h"
#include "session/tok.h"

namespace dtafuzz {

struct Rng {
    uint64_t s;
    uint64_t next() {
        uint64_t z = (s += 0x9E3779B97F4A7C15ull);
        z = (z ^ (z >> 30)) * 0xBF58476D1CE4E5B9ull;
        z = (z ^ (z >> 27)) * 0x94D049BB133111EBull;
        return z ^ (z >> 31);
    }
    size_t below(size_t n) { return n ? (size_t)(next() % n) : 0; }
};

// Offsets where a header of any format keeps counts, lengths and codes, and the first bytes of the
// descriptors and of a row.
inline constexpr size_t hot_offsets[] = {0,  1,  2,   4,   5,   6,   7,   8,   9,  40,
                                         42, 60, 109, 110, 111, 112, 113, 114, 115};
inline constexpr uint32_t hot_values[] = {
    0,          1,           2,          7,          8,          0x7F,   0x80,   0xF4,
    0xF5,       0xF6,        0xFA,       0xFF,       0x7FFF,     0x8000, 0xFFFF, 0x10000,
    0x7FFFFFFF, 0x80000000u, 0xFFFFFFFF, 0x00010000, 0x01000000, 32000,  32001,  5000};

// One mutated file from seed, the same for the same iteration.
inline std::vector<uint8_t> mutate(const std::vector<uint8_t> &seed, uint64_t iter) {
    Rng r{iter * 0x2545F4914F6CDD1Dull + 7};
    std::vector<uint8_t> d = seed;
    const int n = 1 + (int)r.below(3);
    for (int k = 0; k < n; ++k) {
        const size_t size = d.size();
        switch (r.below(10)) {
        case 0: // cut short: anywhere, or near the end
            if (size) d.resize(r.below(2) ? r.below(size) : size - std::min(size, r.below(64)));
            break;
        case 1: // flip bytes
        case 2:
            for (size_t j = 0, m = 1 + r.below(8); j < m && size; ++j)
                d[r.below(size)] ^= (uint8_t)(1u << r.below(8));
            break;
        case 3: // random bytes
            for (size_t j = 0, m = 1 + r.below(4); j < m && size; ++j)
                d[r.below(size)] = (uint8_t)r.next();
            break;
        case 4:
        case 5: { // a count or a length that lies, where headers keep them or anywhere
            const size_t at = r.below(2) ? hot_offsets[r.below(std::size(hot_offsets))] : r.below(size);
            const uint32_t v = hot_values[r.below(std::size(hot_values))];
            const size_t w = r.below(2) ? 2 : 4;
            for (size_t j = 0; j < w && at + j < size; ++j)
                d[at + j] = (uint8_t)(r.below(2) ? v >> (8 * j) : v >> (8 * (w - 1 - j)));
            break;
        }
        case 6: // another format, another byte order
            if (size > 1) {
                static const uint8_t formats[] = {102, 103, 104, 105, 106, 107, 108,
                                                  110, 111, 112, 113, 114, 115, 109};
                d[0] = formats[r.below(std::size(formats))];
                if (r.below(2)) d[1] = (uint8_t)(1 + r.below(2));
            }
            break;
        case 7: // a type byte of the descriptors
            if (size > 120) d[60 + r.below(60)] = (uint8_t)(r.below(2) ? 0 : 240 + r.below(16));
            break;
        case 8: { // a piece repeated, or removed
            if (size < 2) break;
            const size_t a = r.below(size), len = 1 + r.below(std::min<size_t>(size - a, 512));
            if (r.below(2))
                d.insert(d.begin() + (ptrdiff_t)a, seed.begin() + (ptrdiff_t)std::min(a, seed.size()),
                         seed.begin() + (ptrdiff_t)std::min(a + len, seed.size()));
            else
                d.erase(d.begin() + (ptrdiff_t)a, d.begin() + (ptrdiff_t)(a + len));
            break;
        }
        default: // garbage behind the end, where the value-label tables are
            for (size_t j = 0, m = 1 + r.below(64); j < m; ++j)
                d.push_back((uint8_t)(r.below(3) ? r.next() : 0));
        }
    }
    return d;
}

inline int run_line(int (*handler)(int), const std::string &text) {
    static std::string line;
    data::command_begin();
    line = text;
    session::settok(line.c_str());
    return handler(0);
}

// The return codes of the whole use, by code: what the inputs came to.
struct Tally {
    long long loaded = 0;
    long long by_code[1000] = {};
};

// What one file goes through: use in both forms, describe using; what loads must save and load again,
// with as many variables and observations. False when that fails: a finding, though not a crash.
inline bool exercise(const std::string &file, const std::string &scratch, std::string *why,
                     Tally *t = nullptr) {
    const std::string q = "\"" + file + "\"";
    const int rc = run_line(data::cmd_use, q + ", clear");
    if (t) {
        if (rc == 0) ++t->loaded;
        if (rc > 0 && rc < 1000) ++t->by_code[rc];
    }
    if (data::ds.nvar > 0 || data::ds.nobs > 0) {
        const int32_t nvar = data::ds.nvar, nobs = data::ds.nobs;
        const std::string s = "\"" + scratch + "\"";
        if (run_line(data::cmd_save, s + ", replace emptyok orphans") != 0) {
            *why = "what was loaded could not be saved";
            return false;
        }
        if (run_line(data::cmd_use, s + ", clear") != 0 || data::ds.nvar != nvar || data::ds.nobs != nobs) {
            *why = "what was saved could not be loaded again as it was";
            return false;
        }
        run_line(data::cmd_save, s + ", replace emptyok oldformat nolabel");
    }
    run_line(data::cmd_use, "in 2/3 if _n != 2 using " + q + ", clear nolabel");
    run_line(data::cmd_use, "_all using " + q + ", clear");
    run_line(data::cmd_describe, "using " + q);
    run_line(data::cmd_clear, "");
    return true;
}

} // namespace dtafuzz
