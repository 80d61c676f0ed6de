// The mutation driver of the data-file reader: every seed file is mutated (cut short, bytes flipped,
// counts and lengths that lie, other formats and byte orders, pieces repeated or removed, garbage
// behind the end) and each result goes through use, use with a part, describe using, and a save and
// use of what was loaded. Built with -DORVAT_FUZZ=ON, meant for the sanitizer build; see run.sh.
//
// usage: dta_fuzz workdir first count seed.dta...   (exit status 3: inputs that loaded but did not
// save and load again, kept as workdir/finding-<n>.dta)
// Before each input runs it stands in workdir/current.dta and its number in workdir/last, so that the
// input of a crash is there to keep; the inputs of one iteration number are always the same.
#include <cstdio>
#include <fstream>
#include <iterator>
#include <string>
#include <vector>

#include "data/dataset.h"
#include "data/labels.h"
#include "dta_mutate.h"
#include "output/channel.h"
#include "output/rimu.h"
#include "session/hexfloat.h"

namespace {

int discard(void *, const uint8_t *, int) { return 0; }

std::vector<uint8_t> slurp(const char *path) {
    std::ifstream in(path, std::ios::binary);
    return std::vector<uint8_t>(std::istreambuf_iterator<char>(in), {});
}

} // namespace

int main(int argc, char **argv) {
    if (argc < 5) {
        std::fprintf(stderr, "usage: dta_fuzz workdir first count seed.dta...\n");
        return 2;
    }
    const std::string dir = argv[1];
    const long long first = std::atoll(argv[2]), count = std::atoll(argv[3]);
    std::vector<std::vector<uint8_t>> seeds;
    for (int k = 4; k < argc; ++k)
        seeds.push_back(slurp(argv[k]));

    if (!session::compute_limits() || data::data_init(1 << 22, 5000, 400) != 0) return 2;
    data::labels_init();
    out::RimuStream *s = out::stream_new();
    out::stream_set_sink(s, discard, nullptr);
    out::ch.current = s;

    const std::string current = dir + "/current.dta", scratch = dir + "/scratch.dta";
    long long findings = 0;
    dtafuzz::Tally tally;
    for (long long it = first; it < first + count; ++it) {
        const auto &seed = seeds[(size_t)(it % (long long)seeds.size())];
        const std::vector<uint8_t> d = dtafuzz::mutate(seed, (uint64_t)it);
        std::ofstream(current, std::ios::binary | std::ios::trunc)
            .write(reinterpret_cast<const char *>(d.data()), (std::streamsize)d.size());
        std::ofstream(dir + "/last", std::ios::trunc) << it << "\n";
        std::string why;
        if (!dtafuzz::exercise(current, scratch, &why, &tally)) {
            ++findings;
            const std::string keep = dir + "/finding-" + std::to_string(it) + ".dta";
            std::rename(current.c_str(), keep.c_str());
            std::fprintf(stderr, "input %lld: %s (kept as %s)\n", it, why.c_str(), keep.c_str());
        }
    }
    std::printf("dta_fuzz: inputs %lld to %lld run, %lld findings; %lld loaded whole", first,
                first + count - 1, findings, tally.loaded);
    for (int c = 1; c < 1000; ++c)
        if (tally.by_code[c]) std::printf(", %lld r(%d)", tally.by_code[c], c);
    std::printf("\n");
    return findings ? 3 : 0;
}
