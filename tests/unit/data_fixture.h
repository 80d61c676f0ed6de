// Test helper: each test gets a fresh data area and a captured stream, and runs a command handler on
// a text the way the dispatcher would.
#pragma once
#include <gtest/gtest.h>

#include <memory>
#include <string>

#include "data/dataset.h"
#include "data/varlist.h"
#include "data/xeq.h"
#include "matrix/results.h"
#include "msg_capture.h"
#include "session/hexfloat.h"
#include "session/state.h"
#include "session/tok.h"

struct DataFixture : ::testing::Test {
    std::string line; // the command text; the tokenizer points into it
    std::unique_ptr<MsgCapture> cap;

    void SetUp() override {
        ASSERT_TRUE(session::compute_limits());
        ASSERT_EQ(data::data_init(1 << 20, 5000, 400), 0);
        session::lp.byprefix = 0;
        data::varabbrev = true;
        cap = std::make_unique<MsgCapture>();
    }
    void TearDown() override { cap.reset(); }

    int add(const char *name, int type) {
        int v = 0;
        EXPECT_EQ(data::add_var(name, type, &v), 0) << name;
        return v;
    }
    // Runs handler(arg) on text as one command, from a fresh command state.
    int run(int (*handler)(int), int arg, const std::string &text) {
        data::command_begin();
        cap->reset();
        line = text;
        session::settok(line.c_str());
        return handler(arg);
    }
    int run(int (*handler)(int), const std::string &text) { return run(handler, 0, text); }
    std::string msg() { return cap->text(); }
    // r(name) when it is a scalar, else -1.
    double rscalar(const char *name) {
        double v = -1;
        return mat::result_lookup('r', name, &v, nullptr) == mat::RES_FAST_R ? v : -1;
    }
};
