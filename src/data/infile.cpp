// infile, infix, outfile: the dataset from and to text. A read goes into columns first and replaces
// the dataset only when the whole file was read; a written file is made beside its name and renamed.
#include "data/infile.h"

#include <cerrno>
#include <cmath>
#include <cstdio>
#include <cstring>
#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include "data/dtafile.h"
#include "data/fmt.h"
#include "data/infile_read.h"
#include "data/labels.h"
#include "data/types.h"
#include "data/varlist.h"
#include "data/xeq.h"
#include "output/channel.h"
#include "session/errors.h"
#include "session/fileio.h"
#include "session/macstore.h"
#include "session/state.h"
#include "session/tok.h"

namespace data {

namespace {

// A name without an extension gets ext.
std::string with_extension(const std::string &name, const char *ext) {
    return session::path_extension(name).empty() ? name + ext : name;
}

// The whole of a file. 0, or 601, 603, 692 with the message written.
int slurp(const std::string &path, std::string &out) {
    struct stat sb;
    if (::stat(path.c_str(), &sb) != 0) return session::file_error(601, path);
    if (S_ISDIR(sb.st_mode)) return session::file_error(603, path);
    const int fd = ::open(path.c_str(), O_RDONLY | O_CLOEXEC);
    if (fd < 0) return session::file_error(603, path);
    out.clear();
    char buf[65536];
    for (;;) {
        const ssize_t n = ::read(fd, buf, sizeof buf);
        if (n < 0 && errno == EINTR) continue;
        if (n < 0) {
            ::close(fd);
            return session::file_error(692, path);
        }
        if (n == 0) break;
        out.append(buf, (size_t)n);
        if (session::poll_break()) {
            ::close(fd);
            return 1;
        }
    }
    ::close(fd);
    return 0;
}

// A stand-in file description with the fields as its variables, so that `if` and `in` are read
// against the dataset the read will make.
void fake_file(const InLayout &lay, DtaFile &f) {
    int32_t at = 0;
    for (const InField &x : lay.fields) {
        if (x.name.empty()) continue;
        DtaVar v;
        std::snprintf(v.name, sizeof v.name, "%s", x.name.c_str());
        v.type = (uint8_t)in_type(x);
        v.offset = at;
        default_format(v.type, v.fmt);
        at += type_width(v.type);
        f.vars.push_back(v);
    }
    f.nvar = (int32_t)f.vars.size();
    f.width = at;
}

// The rest of the line behind the layout: [using file] [if] [in] [, options], read against the
// variables to come. need_using: the file name must be there.
int parse_rest(const InLayout &lay, bool need_using, bool *clear, std::string *using_opt) {
    DtaFile f;
    fake_file(lay, f);
    if ((int)f.vars.size() > ds.maxvar) return session::error(900);
    DtaParseScope scope(f);
    ParseSpec spec;
    spec.usingf = need_using ? PO_REQUIRED : PO_OPTIONAL;
    spec.in = PO_OWN;
    if (int rc = std_parse(spec)) return rc;
    std::vector<session::OptSpec> specs = {session::opt_flag("clear", 5, *clear)};
    if (using_opt) specs.push_back(session::opt_text("using", 5, *using_opt));
    specs.push_back(session::opt_skip("automatic", 4));
    return std_options(specs);
}

// The columns read become the dataset: the `in` range picks observations, then the `if` runs on
// them. Everything was checked before, so only memory can fail here.
int load_result(const InLayout &lay, InResult &res) {
    int64_t lo = 1, hi = res.nobs;
    if (ps.inrange) {
        lo = std::max<int64_t>(lo, ps.in_lo);
        hi = std::min<int64_t>(hi, ps.in_hi);
    }
    const int64_t n = hi >= lo ? hi - lo + 1 : 0;
    clear_dataset();
    for (const InField &x : lay.fields) {
        if (x.name.empty()) continue;
        const int v = add_var_raw(x.name.c_str(), in_type(x));
        if (v < 0) {
            cut_vars(0);
            return session::error(-v);
        }
        std::snprintf(ds.vallab[v - 1], VNAMELEN + 1, "%s", x.vallab.c_str());
        if (!x.label.empty())
            if (int rc = varlabel_set(x.name.c_str(), x.label)) return rc;
    }
    if (int rc = set_obs(n)) {
        cut_vars(0);
        return rc;
    }
    for (int v = 1; v <= ds.nvar; ++v) {
        const InColumn &c = res.cols[(size_t)v - 1];
        if (is_string_type(ds.vartype[v - 1]))
            for (int64_t i = 0; i < n; ++i)
                put_str(v, (int)i + 1, c.str[(size_t)(lo - 1 + i)].c_str());
        else
            for (int64_t i = 0; i < n; ++i)
                put_num(v, (int)i + 1, c.num[(size_t)(lo - 1 + i)]);
    }
    ds.nvar_visible = ds.nvar;
    if (sm.ifpresent && n > 0) {
        std::vector<uint8_t> drop((size_t)n);
        expr_set_ranges(ifexp, 1, (int32_t)n, 1, (int32_t)n);
        expr_lastrc = 0;
        bool any = false;
        for (int32_t i = 1; i <= n; ++i) {
            drop[(size_t)i - 1] = expr_xeqforby(ifexp, i) == 0;
            any = any || drop[(size_t)i - 1];
        }
        if (expr_lastrc) return expr_lastrc;
        if (any)
            if (int rc = drop_obs_mask(drop.data())) return rc;
    }
    ds.changed = 0;
    bump_changed();
    return 0;
}

void read_notes(const InResult &res) {
    out::ClassScope cs(out::CLS_TEXT);
    for (const std::string &s : res.notes)
        out::out_text(s + "\n");
    if (res.bad_numbers > (int64_t)res.notes.size())
        out::out_textf("(%lld more values that are not numbers made missing)\n",
                       (long long)(res.bad_numbers - (int64_t)res.notes.size()));
    if (res.truncated) out::out_textf("(%lld strings truncated)\n", (long long)res.truncated);
    out::out_textf("(%d observation%s read)\n", ds.nobs, ds.nobs == 1 ? "" : "s");
}

// Reads the data the layout describes from its file, or from the text behind the dictionary.
int read_and_load(const InLayout &lay, const std::string &datafile, std::string_view inline_data,
                  bool clear) {
    if (ds.nvar > 0 && !clear) return session::error(18);
    std::string text;
    if (!datafile.empty())
        if (int rc = slurp(with_extension(datafile, ".raw"), text)) return rc;
    InResult res;
    if (int rc = read_records(datafile.empty() ? inline_data : std::string_view(text), lay, res)) return rc;
    if (int rc = load_result(lay, res)) return rc;
    read_notes(res);
    return 0;
}

// infile using dictfile / infix using dictfile: [if] [in] [, using(filename) clear]
int from_dictionary(bool infix) {
    if (int rc = read_using()) return rc;
    const std::string dictname = sm.usingfile;
    if (dictname.empty()) return session::error(7197);
    std::string dict;
    const std::string dictpath = with_extension(dictname, ".dct");
    if (int rc = slurp(dictpath, dict)) return rc;
    InLayout lay;
    if (int rc = parse_dictionary(dict, infix, lay)) return rc;
    bool clear = false;
    std::string using_opt;
    sample_reset();
    if (int rc = parse_rest(lay, false, &clear, &using_opt)) return rc;
    std::string datafile = !using_opt.empty() ? using_opt : lay.datafile;
    if (using_opt.size() >= 2 && using_opt.front() == '"' && using_opt.back() == '"')
        datafile = using_opt.substr(1, using_opt.size() - 2);
    if (datafile.empty()) return read_and_load(lay, "", std::string_view(dict).substr(lay.data_at), clear);
    return read_and_load(lay, datafile, {}, clear);
}

bool using_next() {
    session::TokState st;
    session::savetok(st);
    const bool u = std::string(session::gettok(session::SEP_STD)) == "using";
    session::restoretok(st);
    return u;
}

} // namespace

// infile varlist [_skip[(#)]] using filename [if] [in] [, clear]
// infile using dictfile [if] [in] [, using(filename) clear]
int cmd_infile(int) {
    if (using_next()) {
        session::gettok(session::SEP_STD);
        return from_dictionary(false);
    }
    InLayout lay;
    {
        DtaFile none;
        DtaParseScope scope(none);
        if (int rc = parse_varlist(VL_NEW | VL_SKIP | VL_TYPEPAREN)) return rc;
    }
    for (const NewVar &nv : ps.newvars) {
        InField f;
        f.name = nv.name;
        f.type = nv.type;
        f.skip = nv.name.empty() ? 1 : 0;
        lay.fields.push_back(f);
    }
    if (ps.newvars.empty()) return session::required("varlist");
    bool clear = false;
    if (int rc = parse_rest(lay, true, &clear, nullptr)) return rc;
    return read_and_load(lay, sm.usingfile, {}, clear);
}

// infix [# lines] [#:] [type] name col[-col] ... using filename [if] [in] [, clear]
// infix using dictfile [if] [in] [, using(filename) clear]
int cmd_infix(int) {
    if (using_next()) {
        session::gettok(session::SEP_STD);
        return from_dictionary(true);
    }
    const char *rest = session::tokrest();
    const char *u = std::strstr(rest, " using ");
    if (!u) return session::required("using");
    InLayout lay;
    if (int rc = parse_infix_list(std::string_view(rest, (size_t)(u - rest)), lay)) return rc;
    session::settok(u);
    bool clear = false;
    if (int rc = parse_rest(lay, true, &clear, nullptr)) return rc;
    return read_and_load(lay, sm.usingfile, {}, clear);
}

// ---- outfile ------------------------------------------------------------------------------------

namespace {

// A number as outfile writes it: integers whole, others with the digits their storage type holds,
// so that reading the file back gives the same value.
std::string out_number(double v, int type) {
    if (is_missing(v)) {
        const int k = missing_index(v);
        return k == 0 ? "." : std::string(".") + (char)('a' + k - 1);
    }
    char buf[40];
    if (v == std::floor(v) && std::fabs(v) < 1e15) {
        std::snprintf(buf, sizeof buf, "%.0f", v);
    } else {
        const int digits = type == T_DOUBLE ? 17 : 9;
        std::snprintf(buf, sizeof buf, "%.*g", digits, v);
        // The shortest text that reads back the same.
        for (int d = 1; d < digits; ++d) {
            char t[40];
            std::snprintf(t, sizeof t, "%.*g", d, v);
            const double back = std::strtod(t, nullptr);
            if (type == T_DOUBLE ? back == v : (float)back == (float)v) {
                std::memcpy(buf, t, sizeof t);
                break;
            }
        }
    }
    return buf;
}

// Writes text to path through a new file beside it, renamed into place when whole. 0, or 602, 603,
// 608, 693, 699, 694 with the message written.
int write_beside(const std::string &path, const std::string &text, bool replace) {
    struct stat sb;
    const bool exists = ::stat(path.c_str(), &sb) == 0;
    if (exists && !replace) return session::file_error(602, path);
    if (exists && S_ISDIR(sb.st_mode)) return session::file_error(603, path);
    if (exists && ::access(path.c_str(), W_OK) != 0 && errno == EACCES) return session::file_error(608, path);
    if (exists && !S_ISREG(sb.st_mode)) {
        // A device or a pipe is written as it stands.
        const int fd = ::open(path.c_str(), O_WRONLY | O_CLOEXEC);
        if (fd < 0) return session::file_error(603, path);
        const bool ok = session::write_all(fd, text.data(), text.size());
        const int err = errno;
        const bool closed = ::close(fd) == 0;
        if (!ok || !closed) return session::file_error(err == ENOSPC ? 699 : 693, err == ENOSPC ? "" : path);
        return 0;
    }
    const size_t slash = path.rfind('/');
    const std::string dir = slash == std::string::npos ? "." : path.substr(0, slash == 0 ? 1 : slash);
    const std::string base = slash == std::string::npos ? path : path.substr(slash + 1);
    std::string tmp = dir + "/." + base + ".XXXXXX";
    const int fd = ::mkostemp(tmp.data(), O_CLOEXEC);
    if (fd < 0) return session::file_error(603, path);
    const mode_t mask = ::umask(0);
    ::umask(mask);
    (void)::fchmod(fd, exists ? sb.st_mode & 07777 : 0666 & ~mask);
    const bool ok = session::write_all(fd, text.data(), text.size());
    const int err = errno;
    const bool closed = ::close(fd) == 0;
    if (!ok || !closed) {
        ::unlink(tmp.c_str());
        return session::file_error(err == ENOSPC ? 699 : 693, err == ENOSPC ? "" : path);
    }
    if (::rename(tmp.c_str(), path.c_str()) != 0) {
        ::unlink(tmp.c_str());
        return session::error(694);
    }
    return 0;
}

} // namespace

// outfile [varlist] using filename [if] [in] [, comma dictionary nolabel noquote replace wide]
int cmd_outfile(int) {
    ParseSpec spec;
    spec.varlist = PO_OPTIONAL;
    spec.usingf = PO_REQUIRED;
    if (int rc = std_parse(spec)) return rc;
    bool comma = false, dict = false, nolabel = false, noquote = false, replace = false, wide = false;
    const session::OptSpec specs[] = {
        session::opt_flag("comma", 5, comma),     session::opt_flag("dictionary", 4, dict),
        session::opt_flag("nolabel", 7, nolabel), session::opt_flag("noquote", 7, noquote),
        session::opt_flag("replace", 7, replace), session::opt_flag("wide", 4, wide)};
    if (int rc = std_options(specs)) return rc;
    if (dict && comma) return session::fail(198, "options comma and dictionary may not be combined\n");
    std::vector<int> vars;
    if (ps.count == 0) {
        for (int v = 1; v <= ds.nvar; ++v)
            vars.push_back(v);
    } else {
        for (int k = 0; k < ps.count; ++k)
            vars.push_back(ps.var[(size_t)k]);
    }
    if (vars.empty()) return session::error(111);
    std::vector<int32_t> obs;
    if (int rc = sample_obs(obs)) return rc;
    // A device (the name as given exists and is no file) is written as it stands.
    struct stat sb;
    const bool device =
        ::stat(sm.usingfile.c_str(), &sb) == 0 && !S_ISREG(sb.st_mode) && !S_ISDIR(sb.st_mode);
    const std::string path = device ? sm.usingfile : with_extension(sm.usingfile, dict ? ".dct" : ".raw");

    std::string text;
    char tn[16];
    if (dict) {
        text += "dictionary {\n";
        for (int v : vars) {
            const int t = ds.vartype[v - 1];
            // Labelled values go out as numbers in a dictionary: it has no place for the labels.
            text += "    ";
            text += type_name(t, tn);
            text += " ";
            text += ds.varname[v - 1];
            if (const char *l = varlabel_get(ds.varname[v - 1]); l && *l && !std::strchr(l, '"')) {
                text += " \"";
                text += l;
                text += "\"";
            }
            text += "\n";
        }
        text += "}\n";
    }
    const char sep = comma ? ',' : ' ';
    char sbuf[EXPR_STRBUF];
    for (int32_t i : obs) {
        if (session::poll_break()) return 1;
        size_t line_start = text.size();
        for (size_t k = 0; k < vars.size(); ++k) {
            const int v = vars[k];
            const int t = ds.vartype[v - 1];
            std::string cell;
            if (is_string_type(t)) {
                get_str(v, i, sbuf);
                if (noquote) {
                    cell = sbuf;
                } else {
                    cell = "\"";
                    cell += sbuf;
                    cell += "\"";
                }
            } else {
                const double x = get_num(v, i);
                const char *lab =
                    nolabel || dict || !ds.vallab[v - 1][0] ? nullptr : vl_text(ds.vallab[v - 1], x);
                if (lab) {
                    cell = noquote ? std::string(lab) : "\"" + std::string(lab) + "\"";
                } else {
                    cell = out_number(x, t);
                }
            }
            if (k > 0) {
                // Long observations run over several lines unless wide or comma.
                if (!wide && !comma && !dict && text.size() - line_start + 1 + cell.size() > 79) {
                    text += '\n';
                    line_start = text.size();
                } else {
                    text += sep;
                }
            }
            text += cell;
        }
        text += '\n';
    }
    return write_beside(path, text, replace);
}

} // namespace data
