// The matrix store: symmetric storage and its accessors, the kind rule, saving in place, the moves of
// the assignment path, the stripe grammar, and matrix expressions run through the store.
#include <gtest/gtest.h>

#include <cmath>
#include <cstring>

#include "data/expr.h"
#include "matrix/matexpr.h"
#include "matrix/matstore.h"
#include "msg_capture.h"
#include "session/hexfloat.h"
#include "session/state.h"
#include "session/store.h"

using namespace mat;

namespace {

struct MatStore : ::testing::Test {
    static void SetUpTestSuite() { ASSERT_TRUE(session::compute_limits()); }
    void SetUp() override {
        matexpr_init();
        drop_all();
    }
    void TearDown() override {
        drop_all();
        data::expr_hook_mat = nullptr;
        data::expr_hook_matrix = nullptr;
    }
    static void drop_all() {
        for (int k = session::ST_MATRIX; k <= session::ST_MATRIX_C; ++k)
            session::store_drop_type(k);
        session::store_drop_type(session::ST_E_MATRIX);
    }
    static Matrix make(int r, int c, std::initializer_list<double> v) {
        Matrix m;
        m.resize(r, c);
        m.v.assign(v);
        return m;
    }
};

TEST_F(MatStore, SymmetricBlockKeepsTheLowerTriangle) {
    Matrix m = make(3, 3, {1, 2, 4, 2, 3, 5, 4, 5, 6});
    m.sym = true;
    ASSERT_EQ(mat_save("S", session::ST_MATRIX, m), 0);
    MatrixView v = mat_view("S", session::ST_MATRIX);
    EXPECT_EQ(v.form, MF_SYM);
    EXPECT_EQ(session::store_header(v.block)->allocated, (int64_t)(sizeof(MatrixBlock) + 6 * sizeof(double)));
    EXPECT_EQ(v.el[3], 4); // (2,0) stands at 2*3/2 + 0
    EXPECT_EQ(mat_get(v, 0, 2), 4);
    mat_put(v, 0, 1, 9); // a write above the diagonal changes (1,0) too
    EXPECT_EQ(mat_get(v, 1, 0), 9);
}

TEST_F(MatStore, AskedSymmetryIsKeptOnlyWhenTrue) {
    Matrix m = make(2, 2, {1, 2, 3, 4});
    m.sym = true;
    ASSERT_EQ(mat_save("D", session::ST_MATRIX, m), 0);
    EXPECT_EQ(mat_view("D", session::ST_MATRIX).form, MF_DENSE);
}

TEST_F(MatStore, AbsentMatrixGivesAnEmptyView) {
    MatrixView v = mat_view("none", session::ST_MATRIX);
    EXPECT_EQ(v.rows, 0);
    EXPECT_EQ(v.cols, 0);
    EXPECT_EQ(v.el, nullptr);
    EXPECT_EQ(v.form, MF_DENSE);
}

TEST_F(MatStore, SaveInPlaceWhenSizesAgree) {
    ASSERT_EQ(mat_save("A", session::ST_MATRIX, make(1, 2, {1, 2})), 0);
    void *before = mat_view("A", session::ST_MATRIX).block;
    ASSERT_EQ(mat_save("A", session::ST_MATRIX, make(1, 2, {3, 4})), 0);
    EXPECT_EQ(mat_view("A", session::ST_MATRIX).block, before);
    ASSERT_EQ(mat_save("A", session::ST_MATRIX, make(2, 1, {3, 4})), 0);
    EXPECT_EQ(mat_view("A", session::ST_MATRIX).rows, 2);
}

TEST_F(MatStore, AssignmentMovesAllThreeObjects) {
    Matrix m = make(1, 2, {1, 2});
    m.cn.resize(2);
    std::strcpy(m.cn[0].name, "x");
    std::strcpy(m.cn[1].name, "y");
    ASSERT_EQ(mat_assign("b", session::ST_E_MATRIX, m), 0);
    EXPECT_FALSE(mat_exists("<mat1>", session::ST_MATRIX));
    EXPECT_EQ(session::store_find("<mat1>", col_kind(session::ST_MATRIX), nullptr), nullptr);
    Matrix r;
    ASSERT_TRUE(mat_read("b", session::ST_E_MATRIX, r));
    ASSERT_EQ(r.cn.size(), 2u);
    EXPECT_STREQ(r.cn[1].name, "y");
    EXPECT_NE(session::store_find("b", col_kind(session::ST_E_MATRIX), nullptr), nullptr);
}

TEST_F(MatStore, StripeGrammar) {
    StripeName s;
    ASSERT_TRUE(parse_stripe_entry("eq1:L2D.price", s));
    EXPECT_STREQ(s.equation, "eq1");
    EXPECT_STREQ(s.tsop, "L2D.");
    EXPECT_STREQ(s.name, "price");
    EXPECT_EQ(stripe_text(s), "eq1:L2D.price");
    ASSERT_TRUE(parse_stripe_entry("_:x", s));
    EXPECT_STREQ(s.equation, "");
    EXPECT_FALSE(parse_stripe_entry("a:b:c", s));
    EXPECT_FALSE(parse_stripe_entry(std::string(33, 'n'), s));
    EXPECT_TRUE(parse_stripe_entry(std::string(32, 'n'), s));
    std::vector<StripeName> list;
    MsgCapture c;
    ASSERT_EQ(parse_stripe("a \"two words\" `\"e:x y\"'", list), 0);
    ASSERT_EQ(list.size(), 3u);
    EXPECT_STREQ(list[1].name, "two words");
    EXPECT_STREQ(list[2].equation, "e");
    EXPECT_EQ(parse_stripe("a b:c:d", list), 198);
    EXPECT_EQ(c.text(), "invalid matrix stripe\n");
}

TEST_F(MatStore, ExpressionsRunThroughTheStore) {
    ASSERT_EQ(mat_save("A", session::ST_MATRIX, make(2, 2, {1, 2, 3, 4})), 0);
    Matrix r;
    // (A\A)' is 2x4 and cannot multiply 2x2
    MsgCapture c;
    EXPECT_EQ(eval_matrix("(A \\ A)' * A", r), 503);
    ASSERT_EQ(eval_matrix("A' * A - 2", r), 0);
    EXPECT_EQ(r.at(0, 0), 8);  // 1+9-2
    EXPECT_EQ(r.at(0, 1), 12); // 2+12-2
    ASSERT_EQ(eval_matrix("3 - A", r), 0);
    EXPECT_EQ(r.at(1, 1), -1);
    data::ExprValue v;
    ASSERT_EQ(data::expr_eval_scalar("trace(A) + det(A) + A[2,1]", v), 0);
    EXPECT_EQ(v.num, 5 - 2 + 3);
}

// invsym() writes its trace only under the note flags: the input, one line a pivot (a star for a
// dropped column) and the output.
TEST_F(MatStore, InvsymTracesUnderTheNoteFlag) {
    ASSERT_EQ(mat_save("S", session::ST_MATRIX, make(2, 2, {4, 0, 0, 0})), 0);
    Matrix r;
    {
        MsgCapture c;
        ASSERT_EQ(eval_matrix("invsym(S)", r), 0);
        EXPECT_EQ(c.text(), "");
    }
    MsgCapture c;
    out::ch.noteflag1 = true;
    ASSERT_EQ(eval_matrix("invsym(S)", r), 0);
    EXPECT_EQ(c.text(), "input\n"
                        "  4.00000e+00   0.00000e+00 \n"
                        "  0.00000e+00   0.00000e+00 \n"
                        "  1  4.00000e+00  4.00000e-09\n"
                        "* 2  0.00000e+00  1.00000e-09\n"
                        "output\n"
                        "  2.50000e-01   0.00000e+00 \n"
                        "  0.00000e+00   0.00000e+00 \n");
    EXPECT_EQ(r.at(0, 0), 0.25);
    EXPECT_TRUE(r.sym);
}

} // namespace
