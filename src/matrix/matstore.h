// Matrices of the command language: three store objects per matrix (contents, row stripe, column
// stripe), the view by which code reads them, and the in-memory value that expressions compute on.
#pragma once
#include <cstdint>
#include <string>
#include <string_view>
#include <vector>

namespace mat {

// Storage forms of a block.
enum : uint8_t { MF_DENSE = 1, MF_SYM = 2 };

// The contents object: this header, then the elements as doubles (dense row by row, or the lower
// triangle row by row for MF_SYM).
struct MatrixBlock {
    uint8_t form;
    uint8_t pad[3];
    uint32_t offsetWord; // always 0
    uint16_t rows, cols;
    uint32_t pad2;
};
static_assert(sizeof(MatrixBlock) == 16);

// The transient descriptor of a matrix. A matrix that does not exist gives form 1, no rows, no
// columns and null pointers: callers test rows.
struct MatrixView {
    MatrixBlock *block = nullptr;
    double *el = nullptr;
    int form = MF_DENSE;
    int rows = 0, cols = 0;
};

// One row or column name: [equation:][tsop]name. An empty equation means none.
struct StripeName {
    char equation[33] = {};
    char tsop[33] = {};
    char name[33] = {};
};

// The kind rule: contents at k, row stripe at k+1, column stripe at k+2.
inline constexpr int row_kind(int k) { return k + 1; }
inline constexpr int col_kind(int k) { return k + 2; }

// The kind a command works in; `matrix` sets 9 before it reaches this layer.
extern int active_kind;

// The largest subscript tested before the matrix's own sizes.
inline constexpr int MAX_SUBSCRIPT = 11000;

MatrixView mat_view(const char *name, int kind);
// Element (i, j), counted from 0, honouring the form; a write to a symmetric block also changes (j, i).
double mat_get(const MatrixView &v, int i, int j);
void mat_put(MatrixView &v, int i, int j, double x);

// A matrix as a value: dense, with its stripes (empty when the default names apply). sym asks for
// symmetric storage when saved.
struct Matrix {
    int rows = 0, cols = 0;
    bool sym = false;
    std::vector<double> v;
    std::vector<StripeName> rn, cn;
    double &at(int i, int j) { return v[(size_t)i * (size_t)cols + (size_t)j]; }
    double at(int i, int j) const { return v[(size_t)i * (size_t)cols + (size_t)j]; }
    void resize(int r, int c, double fill = 0) {
        rows = r;
        cols = c;
        v.assign((size_t)r * (size_t)c, fill);
        rn.clear();
        cn.clear();
        sym = false;
    }
};

bool mat_exists(const char *name, int kind);
// Reads the matrix name of kind into m; false when there is none.
bool mat_read(const char *name, int kind, Matrix &m);
// The same, with "matrix <name> not found" (111) written when there is none.
int mat_load(const char *name, int kind, Matrix &m);
// Saves m as name of kind, replacing what was there (in place when form and sizes agree). Returns 0
// or 909 with the message written; after a failure the old matrix stands.
int mat_save(const char *name, int kind, const Matrix &m);
// The assignment path: m is built as "<mat1>" and then its three objects move to name of kind.
int mat_assign(const char *name, int kind, const Matrix &m);
void mat_drop(const char *name, int kind);
// Moves the three objects of (from, fkind) to (to, tkind), dropping what stood there.
void mat_move(const char *from, int fkind, const char *to, int tkind);
// The names of the matrices of a kind, oldest first.
std::vector<std::string> mat_names(int kind);

// Drops "<mat1>", "<mat2>", "<mat3>", "<matsub>": at the end of every matrix command.
void mat_drop_temps();

// 0, or 908 with its message when rows or cols exceed matsize.
int check_matsize(int rows, int cols);
// True when m is square and equal to its transpose.
bool is_symmetric(const Matrix &m);

// Stripes: the default name of row or column i ("r1", "c1"); the stripe of m with defaults made;
// the text of an entry ("eq:L.name"); whether any entry has an equation.
StripeName default_name(bool row, int i);
std::vector<StripeName> full_stripe(const Matrix &m, bool row);
std::string stripe_text(const StripeName &s);
bool has_equations(const std::vector<StripeName> &s);
// Parses a word list of the stripe grammar, [eq:][tsop.]name with quoted entries allowed. Returns 0
// or 198 with "invalid matrix stripe" written.
int parse_stripe(std::string_view list, std::vector<StripeName> &out);
// One entry; false when it is not of the grammar.
bool parse_stripe_entry(std::string_view word, StripeName &out);

// A reference to a matrix by the user: "name", or "e(name)", "r(name)", "return(name)". Gives the
// kind and the bare name; 0, or the code with its message (198 bad, 151/152 wrong program class).
int matrix_ref(std::string_view text, std::string &name, int &kind, bool check_class);

} // namespace mat
