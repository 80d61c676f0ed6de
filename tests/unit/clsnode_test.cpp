// The node store of the class system: counts, freeing, arrays across arraynodes, key forms, rekey,
// the sweep of unreachable cycles, the faults of unlink.
#include <gtest/gtest.h>

#include <string>
#include <vector>

#include "lang/clsnode.h"
#include "msg_capture.h"

using namespace lang::cls;

namespace {

std::vector<Key> freed;
void record_free(Key k) { freed.push_back(k); }

struct ClsNode : ::testing::Test {
    void SetUp() override {
        reset();
        freed.clear();
        set_free_hook(record_free);
    }
    void TearDown() override {
        reset();
        set_free_hook(nullptr);
    }
};

TEST_F(ClsNode, LastReferenceFreesAndKeysAreNotReused) {
    Key a = make_double(1.5);
    link(a);
    link(a);
    EXPECT_EQ(node(a)->refs, 2);
    EXPECT_EQ(unlink(a), 0);
    ASSERT_NE(node(a), nullptr);
    EXPECT_EQ(unlink(a), 0);
    EXPECT_EQ(node(a), nullptr);
    Key b = make_double(2);
    EXPECT_GT(b, a);
    EXPECT_EQ(summary().items, 1);
}

TEST_F(ClsNode, ArrayElementsSpanArraynodes) {
    Key arr = make_array();
    link(arr);
    Key s = make_string("x");
    arr_set(arr, 20, s);
    EXPECT_EQ(node(arr)->maxdex, 20);
    EXPECT_EQ(node(arr)->nels, 1);
    EXPECT_EQ(node(arr)->size, 3 * keys_per_node);
    EXPECT_EQ(arr_get(arr, 20), s);
    EXPECT_EQ(arr_get(arr, 19), NULLKEY);
    EXPECT_EQ(arr_get(arr, 21), NULLKEY);
    EXPECT_EQ(node(s)->refs, 1);
    for (int i = 1; i <= 10; ++i)
        arr_push(arr, make_double(i));
    EXPECT_EQ(node(arr)->maxdex, 30);
    // Dropping element 20 moves the later ones down one place.
    arr_dropel(arr, 20);
    EXPECT_EQ(node(s), nullptr);
    EXPECT_EQ(node(arr)->maxdex, 29);
    EXPECT_EQ(node(arr_get(arr, 20))->value, 1);
    EXPECT_EQ(node(arr_get(arr, 29))->value, 10);
    Key last = arr_pop(arr);
    EXPECT_EQ(node(last)->value, 10);
    EXPECT_EQ(node(last)->refs, 1); // the caller's now
    unlink(last);
    EXPECT_EQ(node(arr)->maxdex, 28);
    std::vector<Key> items = arr_items(arr);
    ASSERT_EQ(items.size(), 28u);
    EXPECT_EQ(items[0], NULLKEY);
    // The array's arraynodes and elements go with it.
    unlink(arr);
    EXPECT_EQ(summary().items, 0);
}

TEST_F(ClsNode, FreeingATreeRunsTheHookForObjectsOnly) {
    Key obj = make(N_CLASS);
    Key attrs = make_array(), dyn = make_array();
    node(obj)->attrib_array = attrs;
    node(obj)->dynamic_array = dyn;
    link(attrs);
    link(dyn);
    Key a = make(N_ATTRIBUTE);
    Key inner = make(N_CLASS);
    node(a)->target = inner;
    link(inner);
    arr_push(attrs, a);
    link(obj);
    unlink(obj);
    EXPECT_EQ(freed, (std::vector<Key>{obj, inner}));
    EXPECT_EQ(summary().items, 0);
}

TEST_F(ClsNode, KeyForms) {
    EXPECT_EQ(key_form(0x1a), "__key(1a)");
    EXPECT_EQ(key_form(0x1a, 3), "__key(1a)[3]");
    EXPECT_EQ(key_name(0xff), "Kff");
    Key k;
    int idx;
    size_t used;
    EXPECT_TRUE(parse_key_form("__key(1A)[12].x", k, idx, &used));
    EXPECT_EQ(k, 0x1aUL);
    EXPECT_EQ(idx, 12);
    EXPECT_EQ(used, 13u);
    EXPECT_FALSE(parse_key_form("__key()", k, idx));
    EXPECT_FALSE(parse_key_form("__key(1a", k, idx));
    EXPECT_FALSE(parse_key_form("__key(1a)[]", k, idx));
}

TEST_F(ClsNode, RekeyMovesContentsAndChecksFit) {
    Key t = make_array(), s = make_array();
    link(t);
    link(s);
    arr_push(t, make_double(1));
    arr_push(s, make_string("a"));
    arr_push(s, make_string("b"));
    EXPECT_EQ(rekey(t, s), 0);
    EXPECT_EQ(node(t)->maxdex, 2);
    EXPECT_EQ(node(arr_get(t, 2))->text, "b");
    EXPECT_EQ(node(s)->maxdex, 0);
    EXPECT_EQ(node(t)->refs, 1);
    Key d = make_double(1), str = make_string("long");
    MsgCapture cap;
    EXPECT_EQ(rekey(d, str), 4050);
    char want[96];
    std::snprintf(want, sizeof want, "cls_rekey, target (%lx) too small for source (%lx)\n", d, str);
    EXPECT_EQ(cap.lines, want);
}

TEST_F(ClsNode, UnlinkFaults) {
    Key arr = make_array();
    link(arr);
    arr_set(arr, 1, make_double(0));
    Key an = node(arr)->node0;
    Key ctx = make(N_CONTEXT);
    MsgCapture cap;
    EXPECT_EQ(unlink(an), 4050);
    EXPECT_EQ(unlink(ctx), 4050);
    char want[96];
    std::snprintf(want, sizeof want,
                  "attempt to cls_unlink() an array node %lx\nattempt to cls_unlink() a context\n", an);
    EXPECT_EQ(cap.lines, want);
    EXPECT_NE(node(an), nullptr);
}

TEST_F(ClsNode, SweepFreesUnreachableCycles) {
    Key root = make_array();
    link(root);
    Key kept = make_string("kept");
    arr_push(root, kept);
    // Two arrays holding each other, and one of them holding the kept string too.
    Key x = make_array(), y = make_array();
    arr_push(x, y);
    arr_push(y, x);
    arr_push(y, kept);
    EXPECT_EQ(node(kept)->refs, 2);
    EXPECT_EQ(sweep({root}), 4); // x, y and an arraynode each
    EXPECT_EQ(node(x), nullptr);
    EXPECT_EQ(node(y), nullptr);
    ASSERT_NE(node(kept), nullptr);
    EXPECT_EQ(node(kept)->refs, 1);
    EXPECT_TRUE(freed.empty());
    EXPECT_EQ(sweep({root}), 0);
}

TEST_F(ClsNode, SummaryFigures) {
    Key s = make_string("abc");
    link(s);
    Summary f = summary();
    EXPECT_EQ(f.items, 1);
    EXPECT_EQ(f.data, 4);
    EXPECT_EQ(f.total, f.data + f.overhead + f.names);
    reset();
    EXPECT_EQ(summary().items, 0);
    EXPECT_EQ(summary().total, 0);
}

} // namespace
