// Rendering a 100,000-line Rimu document (paragraphs, tables, colours, rules) to a text log: through
// a stream with a text log attached, as a session logs its output, and through translate's path.
#include <benchmark/benchmark.h>
#include <fcntl.h>
#include <unistd.h>

#include <cstdio>
#include <cstdlib>
#include <string>
#include <vector>

#include "output/log.h"
#include "output/rimu.h"

namespace {

constexpr int NLINES = 100000;

// The document as lines, each ending in a newline: blocks of a heading, a table in line-drawing
// characters with coloured cells, and a paragraph that wraps.
const std::vector<std::string> &document() {
    static std::vector<std::string> lines;
    if (!lines.empty()) return lines;
    lines.reserve(NLINES);
    char buf[512];
    int block = 0;
    while ((int)lines.size() < NLINES) {
        ++block;
        std::snprintf(buf, sizeof buf, "{title:Block %d}\n", block);
        lines.push_back(buf);
        lines.push_back("{c TLC}{hline 12}{c TT}{hline 12}{c TT}{hline 12}{c TRC}\n");
        for (int r = 0; r < 10; ++r) {
            std::snprintf(buf, sizeof buf,
                          "{c |}{ralign 12:{res}%d}{txt}{c |}{res}%12.4f{txt}{c |}{err}%12s{txt}{c |}\n",
                          block * 10 + r, (block * 10 + r) / 7.0, r % 2 ? "odd" : "even");
            lines.push_back(buf);
        }
        lines.push_back("{c BLC}{hline 12}{c BT}{hline 12}{c BT}{hline 12}{c BRC}\n");
        lines.push_back("{p 4 8 2}\n");
        for (int w = 0; w < 6; ++w)
            lines.push_back("Words of a paragraph that wraps at the width of the screen, with {bf:bold} and "
                            "{it:italic} words, a {help log:link} and two sentences.  The second ends.\n");
        lines.push_back("{p_end}\n");
        lines.push_back("{hline}\n");
    }
    lines.resize(NLINES);
    lines.push_back("{rimu}\n"); // whatever the last block left open is finished
    return lines;
}

int null_fd() {
    static int fd = ::open("/dev/null", O_WRONLY);
    return fd;
}

// The session's path: a stream with no screen, one text log.
void BM_TextLog(benchmark::State &state) {
    const std::vector<std::string> &doc = document();
    for (auto _ : state) {
        out::RimuStream *s = out::stream_new();
        out::stream_add_log(s, null_fd(), false);
        for (const std::string &l : doc)
            out::stream_put_rimu(s, l);
        out::stream_flush(s);
        out::stream_remove_log(s, null_fd());
        out::stream_free(s);
    }
    state.SetItemsProcessed(state.iterations() * NLINES);
    state.counters["lines_per_s"] =
        benchmark::Counter((double)state.iterations() * NLINES, benchmark::Counter::kIsRate);
}
BENCHMARK(BM_TextLog)->Unit(benchmark::kMillisecond);

// translate's path: a fresh stream whose sink writes the lines to the target.
void BM_Translate(benchmark::State &state) {
    const std::vector<std::string> &doc = document();
    int64_t written = 0;
    for (auto _ : state) {
        out::TextTarget t;
        t.fd = null_fd();
        t.width = 79;
        out::rimu_to_text_begin(&t);
        for (const std::string &l : doc)
            out::rimu_to_text_feed(&t, l);
        out::rimu_to_text_end(&t);
        written = t.total;
    }
    state.SetItemsProcessed(state.iterations() * NLINES);
    state.counters["lines_per_s"] =
        benchmark::Counter((double)state.iterations() * NLINES, benchmark::Counter::kIsRate);
    state.counters["lines_out"] = (double)written;
}
BENCHMARK(BM_Translate)->Unit(benchmark::kMillisecond);

} // namespace

BENCHMARK_MAIN();
