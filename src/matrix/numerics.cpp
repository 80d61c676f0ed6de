// The matrix numerics over LAPACK, and the small element-wise functions of matrix expressions.
#include "matrix/numerics.h"

#include <algorithm>
#include <atomic>
#include <cmath>
#include <cstring>
#include <new>
#include <vector>

#include "data/expr.h"
#include "session/errors.h"
#include "session/hexfloat.h"
#include "session/state.h"

extern "C" {
void dgetrf_(const int *m, const int *n, double *a, const int *lda, int *ipiv, int *info);
void dgetri_(const int *n, double *a, const int *lda, const int *ipiv, double *work, const int *lwork,
             int *info);
void dpotrf_(const char *uplo, const int *n, double *a, const int *lda, int *info, size_t);
void dsyev_(const char *jobz, const char *uplo, const int *n, double *a, const int *lda, double *w,
            double *work, const int *lwork, int *info, size_t, size_t);
void dgesvd_(const char *jobu, const char *jobvt, const int *m, const int *n, double *a, const int *lda,
             double *s, double *u, const int *ldu, double *vt, const int *ldvt, double *work,
             const int *lwork, int *info, size_t, size_t);
void dgeev_(const char *jobvl, const char *jobvr, const int *n, double *a, const int *lda, double *wr,
            double *wi, double *vl, const int *ldvl, double *vr, const int *ldvr, double *work,
            const int *lwork, int *info, size_t, size_t);
}

namespace {

// What the callback saw. LAPACK is called from the main thread, but the library's own threads may
// report too, so the record is atomic.
std::atomic<int> la_called{0};
std::atomic<int> la_arg{0};
char la_name[16];

} // namespace

// The library's error callback, replacing its own (which prints and ends the process): record and
// return; the routine then returns with its info argument set and the caller checks la_status().
extern "C" void xerbla_(const char *srname, const int *info, size_t len) {
    if (!la_called.exchange(1)) {
        size_t n = std::min(len, sizeof la_name - 1);
        if (srname) std::memcpy(la_name, srname, n);
        while (n > 0 && la_name[n - 1] == ' ')
            --n;
        la_name[n] = 0;
        la_arg = info ? *info : 0;
    }
}

namespace mat {

namespace {

bool is_miss(double v) { return !(v < session::lim.dot); }

int check_matsize(int r, int c) {
    if (r > session::st.matsize || c > session::st.matsize) return session::error(908);
    return 0;
}

// Work arrays: a failed allocation is 909, written here.
template <class T> int alloc(std::vector<T> &v, size_t n) {
    try {
        v.resize(n);
    } catch (const std::bad_alloc &) {
        return session::error(909);
    }
    return 0;
}

// The matrix in a dense n by m block without stride, rows of a as rows of the block (so the block
// read column-major is a').
void pack(const double *a, int r, int c, int lda, double *b) {
    for (int i = 0; i < r; ++i)
        std::memcpy(b + (size_t)i * c, a + (size_t)i * lda, sizeof(double) * (size_t)c);
}
void unpack(const double *b, int r, int c, double *x, int ldx) {
    for (int i = 0; i < r; ++i)
        std::memmove(x + (size_t)i * ldx, b + (size_t)i * c, sizeof(double) * (size_t)c);
}

// The same sign rule for a vector of eigenvectors or singular vectors: the element of greatest
// size positive, the first of equals. Returns the factor applied (1 or -1).
double orient(double *col, int n, int stride) {
    int best = 0;
    for (int i = 1; i < n; ++i)
        if (std::fabs(col[(size_t)i * stride]) > std::fabs(col[(size_t)best * stride])) best = i;
    if (n == 0 || col[(size_t)best * stride] >= 0) return 1;
    for (int i = 0; i < n; ++i)
        col[(size_t)i * stride] = -col[(size_t)i * stride];
    return -1;
}

// The optimal work size of a LAPACK call asked with lwork -1.
int work_size(double w) { return std::max(1, (int)w); }

} // namespace

void la_reset() {
    la_called = 0;
    la_arg = 0;
    la_name[0] = 0;
}

int la_status() {
    if (!la_called.load()) return 0;
    la_called = 0;
    return session::fail(3930, "error in LAPACK routine\n");
}

const char *la_last_routine() { return la_name; }
int la_last_argument() { return la_arg.load(); }

// ---- Scalars -----------------------------------------------------------------------------------------

bool issym(const double *a, int r, int c, int lda) {
    if (r != c) return false;
    for (int i = 0; i < r; ++i)
        for (int j = 0; j < i; ++j)
            if (!(a[(size_t)i * lda + j] == a[(size_t)j * lda + i])) return false;
    return true;
}

bool matmissing(const double *a, int r, int c, int lda) {
    for (int i = 0; i < r; ++i)
        for (int j = 0; j < c; ++j)
            if (is_miss(a[(size_t)i * lda + j])) return true;
    return false;
}

int trace(const double *a, int r, int c, int lda, double *out) {
    if (r != c) return session::error(503);
    double s = 0;
    for (int i = 0; i < r; ++i) {
        const double d = a[(size_t)i * lda + i];
        if (is_miss(d)) {
            *out = session::lim.dot;
            return 0;
        }
        s += d;
    }
    *out = s;
    return 0;
}

int diag0cnt(const double *a, int r, int c, int lda, int *out) {
    if (r != c) return session::error(503);
    int k = 0;
    for (int i = 0; i < r; ++i)
        if (a[(size_t)i * lda + i] == 0) ++k;
    *out = k;
    return 0;
}

int det(const double *a, int r, int c, int lda, double *out) {
    if (int rc = check_matsize(r, c)) return rc;
    if (r != c) return session::error(503);
    if (matmissing(a, r, c, lda)) {
        *out = session::lim.dot;
        return 0;
    }
    const int n = r;
    if (n == 0) {
        *out = 1;
        return 0;
    }
    std::vector<double> b;
    std::vector<int> piv;
    if (int rc = alloc(b, (size_t)n * n)) return rc;
    if (int rc = alloc(piv, (size_t)n)) return rc;
    pack(a, n, n, lda, b.data()); // det(a') = det(a)
    int info = 0;
    la_reset();
    dgetrf_(&n, &n, b.data(), &n, piv.data(), &info);
    if (int rc = la_status()) return rc;
    double d = 1;
    for (int i = 0; i < n; ++i) {
        d *= b[(size_t)i * n + i];
        if (piv[i] != i + 1) d = -d;
    }
    *out = d == 0 ? 0.0 : d; // no negative zero
    return 0;
}

// ---- Matrix results ------------------------------------------------------------------------------------

int inv(const double *a, int r, int c, int lda, double *x, int ldx) {
    if (int rc = check_matsize(r, c)) return rc;
    if (r != c) return session::error(503);
    if (matmissing(a, r, c, lda)) return session::error(504);
    const int n = r;
    if (n == 0) return 0;
    std::vector<double> b, work;
    std::vector<int> piv;
    if (int rc = alloc(b, (size_t)n * n)) return rc;
    if (int rc = alloc(piv, (size_t)n)) return rc;
    // The block read column-major is a'; the inverse of a' read back row by row is the inverse of a.
    pack(a, n, n, lda, b.data());
    int info = 0;
    la_reset();
    dgetrf_(&n, &n, b.data(), &n, piv.data(), &info);
    if (int rc = la_status()) return rc;
    if (info > 0) return session::fail(3352, "singular matrix\n");
    double wq = 0;
    int lwork = -1;
    dgetri_(&n, b.data(), &n, piv.data(), &wq, &lwork, &info);
    if (int rc = la_status()) return rc;
    lwork = work_size(wq);
    if (int rc = alloc(work, (size_t)lwork)) return rc;
    dgetri_(&n, b.data(), &n, piv.data(), work.data(), &lwork, &info);
    if (int rc = la_status()) return rc;
    if (info > 0) return session::fail(3352, "singular matrix\n");
    unpack(b.data(), n, n, x, ldx);
    return 0;
}

int syminv(const double *a, int r, int c, int lda, double *x, int ldx, InvsymOut *out) {
    if (int rc = check_matsize(r, c)) return rc;
    if (r != c) return session::error(503);
    if (x != a)
        for (int i = 0; i < r; ++i)
            std::memmove(x + (size_t)i * ldx, a + (size_t)i * lda, sizeof(double) * (size_t)c);
    return invsym(x, r, ldx, {}, out);
}

int cholesky(const double *a, int r, int c, int lda, double *l, int ldl) {
    if (int rc = check_matsize(r, c)) return rc;
    if (r != c) return session::error(503);
    if (!issym(a, r, c, lda)) return session::error(505);
    if (matmissing(a, r, c, lda)) return session::error(504);
    const int n = r;
    if (n == 0) return 0;
    std::vector<double> b;
    if (int rc = alloc(b, (size_t)n * n)) return rc;
    pack(a, n, n, lda, b.data());
    // The upper factor R (A = R'R) of the column-major block is, read row by row, the lower L = R'.
    int info = 0;
    la_reset();
    dpotrf_("U", &n, b.data(), &n, &info, 1);
    if (int rc = la_status()) return rc;
    if (info > 0) return session::error(506);
    for (int i = 0; i < n; ++i)
        for (int j = i + 1; j < n; ++j)
            b[(size_t)i * n + j] = 0;
    unpack(b.data(), n, n, l, ldl);
    return 0;
}

int corr(const double *a, int r, int c, int lda, double *x, int ldx) {
    if (int rc = check_matsize(r, c)) return rc;
    if (r != c) return session::error(503);
    if (!issym(a, r, c, lda)) return session::error(505);
    const int n = r;
    std::vector<double> s;
    if (int rc = alloc(s, (size_t)n)) return rc;
    for (int i = 0; i < n; ++i) {
        const double d = a[(size_t)i * lda + i];
        if (!(d > 0)) return session::fail(508, "corr(): matrix has zero or negative values on diagonal\n");
        s[i] = is_miss(d) ? d : std::sqrt(d);
    }
    // Row by row from the top, so that x may be a: row i reads only its own elements and s.
    for (int i = 0; i < n; ++i)
        for (int j = 0; j < n; ++j) {
            const double v = a[(size_t)i * lda + j];
            x[(size_t)i * ldx + j] = (is_miss(v) || is_miss(s[i]) || is_miss(s[j])) ? session::lim.dot
                                     : i == j                                       ? 1.0
                                                                                    : v / (s[i] * s[j]);
        }
    return 0;
}

int hadamard(const double *a, int ra, int ca, int lda, const double *b, int rb, int cb, int ldb, double *x,
             int ldx) {
    if (int rc = check_matsize(ra, ca)) return rc;
    if (ra != rb || ca != cb) return session::error(503);
    for (int i = 0; i < ra; ++i)
        for (int j = 0; j < ca; ++j) {
            const double u = a[(size_t)i * lda + j], v = b[(size_t)i * ldb + j];
            x[(size_t)i * ldx + j] = is_miss(u) || is_miss(v) ? session::lim.dot : u * v;
        }
    return 0;
}

int vec(const double *a, int r, int c, int lda, double *x) {
    if (int rc = check_matsize((int)std::min<int64_t>((int64_t)r * c, INT32_MAX), 1)) return rc;
    for (int j = 0; j < c; ++j)
        for (int i = 0; i < r; ++i)
            x[(size_t)j * r + i] = a[(size_t)i * lda + j];
    return 0;
}

int vecdiag(const double *a, int r, int c, int lda, double *x) {
    if (int rc = check_matsize(r, c)) return rc;
    if (r != c) return session::error(503);
    for (int i = 0; i < r; ++i)
        x[i] = a[(size_t)i * lda + i];
    return 0;
}

int diag(const double *v, int r, int c, int ldv, double *x, int ldx) {
    if (r != 1 && c != 1) return session::error(503);
    const int n = r == 1 ? c : r;
    if (int rc = check_matsize(n, n)) return rc;
    for (int i = 0; i < n; ++i) {
        for (int j = 0; j < n; ++j)
            x[(size_t)i * ldx + j] = 0;
        x[(size_t)i * ldx + i] = r == 1 ? v[i] : v[(size_t)i * ldv];
    }
    return 0;
}

int matuniform(int r, int c, double *x, int ldx) {
    if (int rc = check_matsize(r, c)) return rc;
    for (int i = 0; i < r; ++i)
        for (int j = 0; j < c; ++j)
            x[(size_t)i * ldx + j] = data::rng_uniform();
    return 0;
}

// ---- Decompositions ------------------------------------------------------------------------------------

int symeigen(const double *a, int r, int c, int lda, double *vecs, int ldv, double *vals) {
    if (int rc = check_matsize(r, c)) return rc;
    if (r != c) return session::error(503);
    if (!issym(a, r, c, lda)) return session::error(505);
    if (matmissing(a, r, c, lda)) return session::error(504);
    const int n = r;
    if (n == 0) return 0;
    std::vector<double> b, w, work;
    if (int rc = alloc(b, (size_t)n * n)) return rc;
    if (int rc = alloc(w, (size_t)n)) return rc;
    pack(a, n, n, lda, b.data());
    const char *jobz = vecs ? "V" : "N";
    int info = 0, lwork = -1;
    double wq = 0;
    la_reset();
    dsyev_(jobz, "U", &n, b.data(), &n, w.data(), &wq, &lwork, &info, 1, 1);
    if (int rc = la_status()) return rc;
    lwork = work_size(wq);
    if (int rc = alloc(work, (size_t)lwork)) return rc;
    dsyev_(jobz, "U", &n, b.data(), &n, w.data(), work.data(), &lwork, &info, 1, 1);
    if (int rc = la_status()) return rc;
    if (info > 0) return session::error(430);
    // Ascending from the library; column k of the eigenvectors is b[k*n ...] (column-major).
    for (int k = 0; k < n; ++k) {
        const int src = n - 1 - k;
        vals[k] = w[src];
        if (!vecs) continue;
        double *col = b.data() + (size_t)src * n;
        orient(col, n, 1);
        for (int i = 0; i < n; ++i)
            vecs[(size_t)i * ldv + k] = col[i];
    }
    return 0;
}

int svd(const double *a, int r, int c, int lda, double *u, int ldu, double *w, double *v, int ldv) {
    if (int rc = check_matsize(r, c)) return rc;
    if (matmissing(a, r, c, lda)) return session::error(504);
    const int k = std::min(r, c);
    if (k == 0) return 0;
    // Column-major r by c copy of a.
    std::vector<double> b, uu, vt, work;
    if (int rc = alloc(b, (size_t)r * c)) return rc;
    if (int rc = alloc(uu, (size_t)r * k)) return rc;
    if (int rc = alloc(vt, (size_t)k * c)) return rc;
    for (int i = 0; i < r; ++i)
        for (int j = 0; j < c; ++j)
            b[(size_t)j * r + i] = a[(size_t)i * lda + j];
    int info = 0, lwork = -1;
    double wq = 0;
    la_reset();
    dgesvd_("S", "S", &r, &c, b.data(), &r, w, uu.data(), &r, vt.data(), &k, &wq, &lwork, &info, 1, 1);
    if (int rc = la_status()) return rc;
    lwork = work_size(wq);
    if (int rc = alloc(work, (size_t)lwork)) return rc;
    dgesvd_("S", "S", &r, &c, b.data(), &r, w, uu.data(), &r, vt.data(), &k, work.data(), &lwork, &info, 1,
            1);
    if (int rc = la_status()) return rc;
    if (info > 0) return session::error(430);
    // U: column j at uu[j*r ...]; V': row j of vt is column j of V, at vt[j + i*k].
    for (int j = 0; j < k; ++j) {
        const double f = orient(vt.data() + j, c, k);
        for (int i = 0; i < r; ++i)
            uu[(size_t)j * r + i] *= f;
        if (u)
            for (int i = 0; i < r; ++i)
                u[(size_t)i * ldu + j] = uu[(size_t)j * r + i];
        if (v)
            for (int i = 0; i < c; ++i)
                v[(size_t)i * ldv + j] = vt[(size_t)i * k + j];
    }
    return 0;
}

int eigenvalues(const double *a, int r, int c, int lda, double *re, double *im) {
    if (int rc = check_matsize(r, c)) return rc;
    if (r != c) return session::error(503);
    if (matmissing(a, r, c, lda)) return session::error(504);
    const int n = r;
    if (n == 0) return 0;
    std::vector<double> b, wr, wi, work;
    if (int rc = alloc(b, (size_t)n * n)) return rc;
    if (int rc = alloc(wr, (size_t)n)) return rc;
    if (int rc = alloc(wi, (size_t)n)) return rc;
    pack(a, n, n, lda, b.data()); // the eigenvalues of a' are those of a
    int info = 0, lwork = -1, one = 1;
    double wq = 0, dummy = 0;
    la_reset();
    dgeev_("N", "N", &n, b.data(), &n, wr.data(), wi.data(), &dummy, &one, &dummy, &one, &wq, &lwork, &info,
           1, 1);
    if (int rc = la_status()) return rc;
    lwork = work_size(wq);
    if (int rc = alloc(work, (size_t)lwork)) return rc;
    dgeev_("N", "N", &n, b.data(), &n, wr.data(), wi.data(), &dummy, &one, &dummy, &one, work.data(), &lwork,
           &info, 1, 1);
    if (int rc = la_status()) return rc;
    if (info > 0) return session::error(430);
    std::vector<int> ord((size_t)n);
    for (int i = 0; i < n; ++i)
        ord[i] = i;
    std::stable_sort(ord.begin(), ord.end(), [&](int p, int q) {
        if (wr[p] != wr[q]) return wr[p] > wr[q];
        return wi[p] > wi[q];
    });
    for (int i = 0; i < n; ++i) {
        re[i] = wr[ord[i]];
        im[i] = wi[ord[i]];
    }
    return 0;
}

} // namespace mat
