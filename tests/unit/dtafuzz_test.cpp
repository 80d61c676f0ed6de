// A smoke run of the data-file fuzzer (tests/fuzz/run.sh runs thousands of inputs of every format):
// a few hundred mutations of files saved here and of files of other programs go through use, use with
// a part, describe using, and a save and use of what loaded.
#include <gtest/gtest.h>
#include <unistd.h>

#include <fstream>
#include <iterator>
#include <string>
#include <vector>

#include "../fuzz/dta_mutate.h"
#include "data/dataset.h"
#include "data/dtafile.h"
#include "data/labels.h"
#include "data/types.h"
#include "data_fixture.h"

using namespace data;

namespace {

std::vector<uint8_t> slurp(const std::string &path) {
    std::ifstream in(path, std::ios::binary);
    return std::vector<uint8_t>(std::istreambuf_iterator<char>(in), {});
}

TEST_F(DataFixture, DtaFuzzSmoke) {
    labels_init();
    char tmpl[] = "/tmp/dtafuzz.XXXXXX";
    ASSERT_NE(mkdtemp(tmpl), nullptr);
    const std::string dir = tmpl;
    std::vector<std::vector<uint8_t>> seeds;
    for (const char *name : {"pandas_v114.dta", "haven_v113.dta", "foreign_v114.dta"})
        seeds.push_back(slurp(std::string(ORVAT_SOURCE_DIR "/tests/script/dta/") + name));
    // A file of this program with labels and notes, in both formats it writes.
    const int b = add("b", T_BYTE), s = add("s", 4);
    ASSERT_EQ(set_obs(5), 0);
    for (int i = 1; i <= 5; ++i) {
        put_num(b, i, i == 5 ? missing_value(3) : i);
        put_str(s, i, "abc");
    }
    std::snprintf(ds.vallab[b - 1], VNAMELEN + 1, "%s", "l");
    ASSERT_EQ(vl_store("l", {{1, "one"}, {2, "two"}}), 0);
    ASSERT_EQ(char_set("_dta", "note1", "a note"), 0);
    for (bool old : {false, true}) {
        DtaSave o;
        o.oldformat = old;
        o.replace = true;
        ASSERT_EQ(dta_save(dir + "/seed.dta", o, nullptr), 0);
        seeds.push_back(slurp(dir + "/seed.dta"));
    }
    for (const auto &seed : seeds)
        ASSERT_GT(seed.size(), 100u);

    dtafuzz::Tally tally;
    for (uint64_t it = 0; it < 400; ++it) {
        const std::vector<uint8_t> d = dtafuzz::mutate(seeds[it % seeds.size()], it);
        std::ofstream(dir + "/in.dta", std::ios::binary | std::ios::trunc)
            .write(reinterpret_cast<const char *>(d.data()), (std::streamsize)d.size());
        std::string why;
        ASSERT_TRUE(dtafuzz::exercise(dir + "/in.dta", dir + "/out.dta", &why, &tally)) << it << ": " << why;
    }
    EXPECT_GT(tally.loaded, 50);       // many mutations still load
    EXPECT_GT(tally.by_code[688], 10); // and many are refused as damaged
    clear_dataset();
    EXPECT_EQ(std::system(("rm -rf '" + dir + "'").c_str()), 0);
}

} // namespace
