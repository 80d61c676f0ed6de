// The named store: hashing, records of one name and several types, hits, walking, deletion,
// allocation failure; and the `memory` command's results.
#include <gtest/gtest.h>

#include "data/dataset.h"

#include <cstring>
#include <string>
#include <vector>

#include "matrix/results.h"
#include "msg_capture.h"
#include "session/errors.h"
#include "session/loop.h"
#include "session/memory.h"
#include "session/sedit2.h"
#include "session/store.h"
#include "session/tok.h"

using namespace session;

namespace {

// Types no other test of this file leaves records in.
constexpr int T_A = 4400, T_B = 4401, T_C = 4402;

// The bucket rule computed another way: the hash kept in 64 bits and reduced mod 2^32 by hand.
uint32_t bucket_of(const std::string &name) {
    uint64_t h = 0;
    for (unsigned char c : name)
        h = (h * 31 + c) % 4294967296ULL;
    return (uint32_t)(h % 20009);
}

struct Clean {
    ~Clean() {
        for (int t : {T_A, T_B, T_C, (int)ST_PROGRAM, (int)ST_R_SCALAR})
            store_drop_type(t);
        store_fail_countdown = 0;
    }
};

int type_count(int type) {
    int n = 0;
    for (void *p = store_walk(nullptr, nullptr, type, nullptr); p; p = store_walk(p, nullptr, type, nullptr))
        ++n;
    return n;
}

bool at_bucket_head(void *payload) { return store_header(payload)->hashprev == nullptr; }

} // namespace

TEST(NamedStoreHash, KnownNames) {
    EXPECT_EQ(store_hash("x"), 120u);
    EXPECT_EQ(store_hash("ab"), 3105u); // 97*31 + 98
    EXPECT_EQ(store_hash("global"), 14163u);
    EXPECT_EQ(store_hash("S_FN"), 5044u);
    EXPECT_EQ(store_hash("_mymacro"), 12514u);
    EXPECT_EQ(store_hash(""), 0u);
}

TEST(NamedStoreHash, WrapsAt32Bits) {
    // Long enough for h*31 to pass 2^32 many times over.
    for (const char *n :
         {"abcdefghijklmnopqrstuvwxyzABCDEF", "__000001", "zzzzzzzzzzzzzzzzzzzzzzzzzzzzzzzz"}) {
        EXPECT_EQ(store_hash(n), bucket_of(n)) << n;
        EXPECT_LT(store_hash(n), 20009u);
    }
    EXPECT_EQ(store_hash("abcdefghijklmnopqrstuvwxyzABCDEF"), 17402u);
}

TEST(NamedStoreKind, NamesByType) {
    EXPECT_STREQ(store_kind(ST_VALLABEL), "value label");
    EXPECT_STREQ(store_kind(ST_GLOBAL), "global macro");
    EXPECT_STREQ(store_kind(ST_PROGRAM), "program");
    for (int t : {9, 10, 11})
        EXPECT_STREQ(store_kind(t), "matrix");
    EXPECT_STREQ(store_kind(16), "estimates preserve/restore");
    EXPECT_STREQ(store_kind(18), "tracking the postfile");
    EXPECT_STREQ(store_kind(20), "scalar r(");
    EXPECT_STREQ(store_kind(24), "matrix r(");
    EXPECT_STREQ(store_kind(30), "local macro s(");
    EXPECT_STREQ(store_kind(37), "program index");
    EXPECT_STREQ(store_kind(50), "held estimates");
    EXPECT_STREQ(store_kind(3360), "held estimates");
    EXPECT_STREQ(store_kind(3361), "local macro");
    EXPECT_STREQ(store_kind(3424), "local macro");
    EXPECT_STREQ(store_kind(3425), "scalar return(");
    EXPECT_STREQ(store_kind(3552), "local macro return(");
    EXPECT_STREQ(store_kind(3744), "matrix return(");
    for (int t : {0, 8, 32, 34, 35, 38, 49, 3745, 4495})
        EXPECT_STREQ(store_kind(t), "") << t;
}

TEST(NamedStore, AddSetsTheHeader) {
    Clean clean;
    void *p = store_add("price", T_A, 7, 40);
    ASSERT_NE(p, nullptr);
    StoreRecord *r = store_header(p);
    EXPECT_STREQ(r->name, "price");
    EXPECT_EQ(r->type, T_A);
    EXPECT_EQ(r->length, 7);
    EXPECT_EQ(r->slot, -1);
    EXPECT_EQ(r->allocated, 40);
    EXPECT_EQ(r->usedsize, 40);
    EXPECT_EQ(r->bucket, bucket_of("price"));
    EXPECT_EQ(r->hits, 0);
    std::memset(p, 0x5a, 40); // the payload is all the caller's
    int32_t len = 0;
    EXPECT_EQ(store_find("price", T_A, &len), p);
    EXPECT_EQ(len, 7);
    EXPECT_EQ(store_find("price", T_B, nullptr), nullptr);
    EXPECT_EQ(store_find("pric", T_A, nullptr), nullptr);
}

TEST(NamedStore, AddCopyCopiesTheBytes) {
    Clean clean;
    const char text[] = "hello world";
    char *p = (char *)store_add_copy("m", T_A, 11, text, sizeof text);
    ASSERT_NE(p, nullptr);
    EXPECT_STREQ(p, "hello world");
    EXPECT_EQ(store_header(p)->usedsize, (int64_t)sizeof text);
}

TEST(NamedStore, SameNameDifferentTypesCoexist) {
    Clean clean;
    void *a = store_add("dup", T_A, 1, 8);
    void *b = store_add("dup", T_B, 2, 8);
    ASSERT_TRUE(a && b);
    int32_t len;
    EXPECT_EQ(store_find("dup", T_A, &len), a);
    EXPECT_EQ(len, 1);
    EXPECT_EQ(store_find("dup", T_B, &len), b);
    EXPECT_EQ(len, 2);
    // The newer one is at the head of the bucket: found first by any type, then the other.
    EXPECT_EQ(store_find_any("dup"), b);
    EXPECT_EQ(store_next(b, -1), a);
    EXPECT_EQ(store_next(a, -1), nullptr);
    EXPECT_EQ(store_next(b, T_B), nullptr);
    EXPECT_EQ(store_next(b, T_A), a);
    store_delete(b);
    EXPECT_EQ(store_find("dup", T_A, nullptr), a);
    EXPECT_EQ(store_find("dup", T_B, nullptr), nullptr);
    EXPECT_EQ(store_find_any("dup"), a);
}

TEST(NamedStore, DifferentNamesInOneBucketAreKeptApart) {
    Clean clean;
    // Find another name that lands in the bucket of "abcd".
    std::string other;
    uint32_t target = bucket_of("abcd");
    for (char a = 'a'; a <= 'z' && other.empty(); ++a)
        for (char b = 'a'; b <= 'z' && other.empty(); ++b)
            for (char c = 'a'; c <= 'z' && other.empty(); ++c)
                for (char d = 'a'; d <= 'z' && other.empty(); ++d) {
                    std::string n{a, b, c, d};
                    if (n != "abcd" && bucket_of(n) == target) other = n;
                }
    ASSERT_FALSE(other.empty());
    void *p = store_add("abcd", T_A, 0, 1);
    void *q = store_add(other.c_str(), T_A, 0, 1);
    EXPECT_EQ(store_header(p)->bucket, store_header(q)->bucket);
    EXPECT_EQ(store_find("abcd", T_A, nullptr), p);
    EXPECT_EQ(store_find(other.c_str(), T_A, nullptr), q);
    EXPECT_EQ(store_next(q, -1), nullptr); // "abcd" behind it has another name
    store_delete(q);
    EXPECT_EQ(store_find("abcd", T_A, nullptr), p);
    EXPECT_EQ(store_find(other.c_str(), T_A, nullptr), nullptr);
}

TEST(NamedStore, DropTypeOnEmptyTypeDoesNothing) {
    Clean clean;
    void *keep = store_add("k", T_B, 0, 4);
    int64_t n = store_count(), bytes = store_bytes();
    store_drop_type(T_C);
    EXPECT_EQ(store_count(), n);
    EXPECT_EQ(store_bytes(), bytes);
    EXPECT_EQ(store_find("k", T_B, nullptr), keep);
}

TEST(NamedStore, DropTypeDropsOnlyThatType) {
    Clean clean;
    int64_t n0 = store_count(), b0 = store_bytes();
    for (const char *n : {"a", "b", "c"})
        store_add(n, T_A, 0, 16);
    void *other = store_add("a", T_B, 0, 16);
    EXPECT_EQ(store_count(), n0 + 4);
    store_drop_type(T_A);
    EXPECT_EQ(type_count(T_A), 0);
    for (const char *n : {"a", "b", "c"})
        EXPECT_EQ(store_find(n, T_A, nullptr), nullptr);
    EXPECT_EQ(store_find("a", T_B, nullptr), other);
    EXPECT_EQ(store_count(), n0 + 1);
    store_drop_type(T_B);
    EXPECT_EQ(store_count(), n0);
    EXPECT_EQ(store_bytes(), b0);
}

TEST(NamedStore, EleventhHitAtTheHeadResetsAndStays) {
    Clean clean;
    void *p = store_add("hot", T_A, 0, 8);
    ASSERT_TRUE(at_bucket_head(p));
    for (int i = 0; i < 10; ++i)
        store_find("hot", T_A, nullptr);
    EXPECT_EQ(store_header(p)->hits, 10);
    store_find("hot", T_A, nullptr);
    EXPECT_EQ(store_header(p)->hits, 0);
    EXPECT_TRUE(at_bucket_head(p));
}

TEST(NamedStore, EleventhHitMovesTheRecordToTheHead) {
    Clean clean;
    void *older = store_add("hb", T_A, 0, 8);
    void *newer = store_add("hb", T_B, 0, 8);
    ASSERT_TRUE(at_bucket_head(newer));
    for (int i = 0; i < 10; ++i)
        store_find("hb", T_A, nullptr);
    EXPECT_EQ(store_header(older)->hits, 10);
    EXPECT_FALSE(at_bucket_head(older)); // ten hits: no move yet
    store_find("hb", T_A, nullptr);
    EXPECT_EQ(store_header(older)->hits, 0);
    EXPECT_TRUE(at_bucket_head(older));
    EXPECT_FALSE(at_bucket_head(newer));
    // Both are still there, and the chain is whole in both directions.
    EXPECT_EQ(store_find("hb", T_B, nullptr), newer);
    EXPECT_EQ(store_next(older, -1), newer);
    EXPECT_EQ(store_header(newer)->hashprev, store_header(older));
}

TEST(NamedStore, WalkGoesThroughATypeNewestFirst) {
    Clean clean;
    EXPECT_EQ(store_walk(nullptr, nullptr, T_C, nullptr), nullptr);
    store_add("one", T_C, 1, 4);
    store_add("two", T_C, 2, 4);
    store_add("three", T_C, 3, 4);
    store_add("two", T_A, 9, 4); // another type: not walked
    std::vector<std::string> names;
    std::vector<int> lengths;
    const char *name;
    int32_t len;
    for (void *p = store_walk(nullptr, &name, T_C, &len); p; p = store_walk(p, &name, T_C, &len)) {
        names.push_back(name);
        lengths.push_back(len);
    }
    EXPECT_EQ(names, (std::vector<std::string>{"three", "two", "one"}));
    EXPECT_EQ(lengths, (std::vector<int>{3, 2, 1}));
}

TEST(NamedStore, DeleteUnlinksFromBothLists) {
    Clean clean;
    int64_t n0 = store_count(), b0 = store_bytes();
    void *a = store_add("d1", T_C, 0, 100);
    void *b = store_add("d2", T_C, 0, 200);
    void *c = store_add("d3", T_C, 0, 300);
    EXPECT_EQ(store_count(), n0 + 3);
    EXPECT_GE(store_bytes(), b0 + 600);
    store_delete(b); // the middle of the type list
    const char *name;
    void *p = store_walk(nullptr, &name, T_C, nullptr);
    EXPECT_EQ(p, c);
    p = store_walk(p, &name, T_C, nullptr);
    EXPECT_EQ(p, a);
    EXPECT_EQ(store_walk(p, &name, T_C, nullptr), nullptr);
    EXPECT_EQ(store_find("d2", T_C, nullptr), nullptr);
    store_delete(c); // the head
    EXPECT_EQ(store_walk(nullptr, &name, T_C, nullptr), a);
    store_delete(a); // the last
    EXPECT_EQ(store_walk(nullptr, &name, T_C, nullptr), nullptr);
    EXPECT_EQ(store_count(), n0);
    EXPECT_EQ(store_bytes(), b0);
}

TEST(NamedStore, DeletingTheCachedProgramClearsTheCache) {
    Clean clean;
    void *prog = store_add("myprog", ST_PROGRAM, 0, 32);
    void *other = store_add("other", ST_PROGRAM, 0, 32);
    lp.curprog = prog;
    store_delete(other);
    EXPECT_EQ(lp.curprog, prog);
    store_delete(prog);
    EXPECT_EQ(lp.curprog, nullptr);
}

TEST(NamedStore, DeleteCallsTheProgramHookOnlyForPrograms) {
    Clean clean;
    static std::vector<void *> seen;
    seen.clear();
    auto saved = store_on_delete_program;
    store_on_delete_program = [](void *p) { seen.push_back(p); };
    void *prog = store_add("pg", ST_PROGRAM, 0, 8);
    void *notprog = store_add("pg", T_A, 0, 8);
    store_delete(notprog);
    EXPECT_TRUE(seen.empty());
    store_delete(prog);
    ASSERT_EQ(seen.size(), 1u);
    EXPECT_EQ(seen[0], prog);
    store_on_delete_program = saved;
}

TEST(NamedStore, LongNamesAreHeldByTheirFirst32Bytes) {
    Clean clean;
    std::string longname(40, 'n');
    void *p = store_add(longname.c_str(), T_A, 0, 8);
    ASSERT_NE(p, nullptr);
    EXPECT_EQ(std::string(store_header(p)->name), std::string(32, 'n'));
    EXPECT_EQ(store_find(longname.c_str(), T_A, nullptr), p);
    EXPECT_EQ(store_find(std::string(32, 'n').c_str(), T_A, nullptr), p);
}

TEST(NamedStore, FailedAllocationWritesTheMessageAndChangesNothing) {
    Clean clean;
    MsgCapture cap;
    int64_t n0 = store_count(), b0 = store_bytes();
    store_fail_countdown = 1;
    EXPECT_EQ(store_add("x", ST_R_SCALAR, 8, 8), nullptr);
    EXPECT_EQ(cap.text(), "insufficient memory for scalar r(x)\n");
    EXPECT_EQ(store_count(), n0);
    EXPECT_EQ(store_bytes(), b0);
    EXPECT_EQ(store_find("x", ST_R_SCALAR, nullptr), nullptr);

    cap.reset();
    store_fail_countdown = 2; // the second allocation from now fails
    EXPECT_NE(store_add_copy("ok", T_A, 0, "ab", 2), nullptr);
    EXPECT_EQ(store_add_copy("_loc", ST_LOCAL_FIRST + 3, 0, "ab", 2), nullptr);
    EXPECT_EQ(cap.text(), "insufficient memory for local macro loc\n");

    cap.reset();
    EXPECT_EQ(store_add("big", T_A, 0, -1), nullptr);
    EXPECT_EQ(cap.text(), "insufficient memory for  big\n");
}

TEST(MemoryCommand, SetsTheResults) {
    Clean clean;
    Startup saved = st;
    ASSERT_EQ(data::data_init(20971520, 5000, 400), 0);
    st.matsize = 400;
    MsgCapture cap;
    settok("");
    ASSERT_EQ(cmd_memory(0), 0);
    const char *names[] = {"N_cur",   "N_curmax", "k_cur",     "w_cur",   "M_total", "M_data",
                           "M_dyn",   "size_ptr", "width",     "adosize", "matsize", "n_repart",
                           "n_shift", "M_oh",     "M_matsize", "M_dm"};
    // Sixteen scalars fit in the fast table: none reaches the store.
    auto value = [](const char *n) {
        double v = -1;
        EXPECT_EQ(mat::result_lookup('r', n, &v, nullptr), mat::RES_FAST_R) << n;
        return v;
    };
    for (const char *n : names)
        value(n);
    EXPECT_EQ(mat::res.rfast.count, 16);
    EXPECT_EQ(type_count(ST_R_SCALAR), 0);
    EXPECT_EQ(value("M_total"), 20971520.0);
    EXPECT_EQ(value("matsize"), 400.0);
    EXPECT_EQ(value("M_matsize"), 400.0 * 400 * 8);
    EXPECT_EQ(value("adosize"), 1000.0);
    // Run again: the former results are replaced, not added to.
    settok("");
    ASSERT_EQ(cmd_memory(0), 0);
    EXPECT_EQ(mat::res.rfast.count, 16);
    st = saved;
}

TEST(MemoryCommand, TableHeadingsAndFigures) {
    Clean clean;
    Startup saved = st;
    ASSERT_EQ(data::data_init(10485760, 5000, 400), 0);
    st.matsize = 400;
    MsgCapture cap;
    settok("");
    ASSERT_EQ(cmd_memory(0), 0);
    std::string raw = cap.raw();
    for (const char *h :
         {"Details of {cmd:set memory} usage", "    overhead (pointers){col 35}      0.00\n",
          "    data{col 35}      0.00\n", "    data + overhead{col 35}      0.00\n",
          "    free{col 35}     10.00\n", "\nTotal allocated{col 35}     10.00\n", "\nOther memory usage",
          "    {cmd:set maxvar} usage{col 35}", "    {cmd:set matsize} usage{col 35}      1.22\n",
          "    programs, saved results, etc.{col 35}", "    Total{col 35}", "\nGrand total{col 35}"})
        EXPECT_NE(raw.find(h), std::string::npos) << h << "\n--- in ---\n" << raw;
    st = saved;
}

TEST(MemoryCommand, ArgumentsAreASyntaxError) {
    MsgCapture cap;
    settok("junk");
    EXPECT_EQ(cmd_memory(0), 198);
    EXPECT_EQ(cap.text(), "invalid syntax\n");
}
