// The delimited-text reader against thousands of mutated files: quotes, separators and line ends put
// in and taken out, bytes changed, lines cut and repeated. Every input must end in a known code,
// never a crash (run under the sanitizer build), and what is read must write and read back.
#include <gtest/gtest.h>
#include <unistd.h>

#include <fstream>
#include <iterator>
#include <string>
#include <vector>

#include "data/dataset.h"
#include "data/insheet.h"
#include "data/labels.h"
#include "data_fixture.h"

using namespace data;

namespace {

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

std::string slurp(const std::string &path) {
    std::ifstream in(path, std::ios::binary);
    return std::string(std::istreambuf_iterator<char>(in), {});
}

std::string mutate(const std::string &seed, uint64_t iter) {
    static const char hot[] = {'"', '"', ',', ',', '\n', '\r', '\t', '.', '-', 'e', '0', ' ', ';', '\0'};
    Rng r{iter * 0x2545F4914F6CDD1Dull + 11};
    std::string d = seed;
    const int n = 1 + (int)r.below(4);
    for (int k = 0; k < n; ++k) {
        const size_t size = d.size();
        switch (r.below(6)) {
        case 0: // a byte that matters to the parse, put in
            d.insert(d.begin() + (ptrdiff_t)r.below(size + 1), hot[r.below(sizeof hot)]);
            break;
        case 1: // or put in place of another
            if (size) d[r.below(size)] = hot[r.below(sizeof hot)];
            break;
        case 2: // a piece taken out
            if (size) {
                const size_t at = r.below(size);
                d.erase(at, std::min(size - at, 1 + r.below(12)));
            }
            break;
        case 3: // a piece repeated
            if (size) {
                const size_t at = r.below(size);
                const std::string piece = d.substr(at, 1 + r.below(40));
                d.insert(r.below(d.size() + 1), piece);
            }
            break;
        case 4: // cut short
            if (size) d.resize(r.below(size));
            break;
        default: // any byte
            if (size) d[r.below(size)] = (char)r.next();
        }
    }
    return d;
}

TEST_F(DataFixture, CsvFuzz) {
    labels_init();
    // Memory-backed where there is such a place: the files are many and small.
    std::string tmpl = access("/dev/shm", W_OK) == 0 ? "/dev/shm/csvfuzz.XXXXXX" : "/tmp/csvfuzz.XXXXXX";
    ASSERT_NE(mkdtemp(tmpl.data()), nullptr);
    const std::string dir = tmpl;
    std::vector<std::string> seeds;
    for (const char *name : {"basic.csv", "types.csv", "names.csv", "ragged.csv", "halfway.csv", "crlf.csv",
                             "tabbed.txt", "long.csv"})
        seeds.push_back(slurp(std::string(ORVAT_SOURCE_DIR "/tests/script/csv/") + name));
    for (const auto &s : seeds)
        ASSERT_GT(s.size(), 10u);
    const std::string in = dir + "/in.csv", out = dir + "/out.csv";
    int loaded = 0, refused = 0;
    for (uint64_t it = 0; it < 3000; ++it) {
        const std::string d = mutate(seeds[it % seeds.size()], it);
        std::ofstream(in, std::ios::binary | std::ios::trunc).write(d.data(), (std::streamsize)d.size());
        const int rc = run(cmd_insheet, "using " + in + ", clear");
        ASSERT_TRUE(rc == 0 || rc == 612 || rc == 610) << it << ": " << rc << " " << msg();
        if (rc) {
            ++refused;
            continue;
        }
        ++loaded;
        const int nvar = ds.nvar, nobs = ds.nobs;
        for (int v = 1; v <= nvar; ++v)
            ASSERT_TRUE(is_valid_type(ds.vartype[v - 1]) && !is_legacy_type(ds.vartype[v - 1])) << it;
        if (nvar == 0) continue;
        ASSERT_EQ(run(cmd_outsheet, "using " + out + ", comma replace nolabel"), 0) << it << ": " << msg();
        ASSERT_EQ(run(cmd_insheet, "using " + out + ", clear names"), 0) << it << ": " << msg();
        EXPECT_EQ(ds.nvar, nvar) << it << ": " << d << "\n---\n" << slurp(out);
        // A line of one empty value is a blank line, which is skipped.
        if (nvar > 1) {
            EXPECT_EQ(ds.nobs, nobs) << it;
        }
    }
    EXPECT_GT(loaded, 1000);
    EXPECT_GT(refused, 10);
    clear_dataset();
    EXPECT_EQ(std::system(("rm -rf '" + dir + "'").c_str()), 0);
}

} // namespace
