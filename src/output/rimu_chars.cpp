// The names of {c}: line-drawing characters, escapes, codes given directly, and Latin letters.
#include <cstring>

#include "output/rimu.h"
#include "output/rimu_int.h"

namespace out {

bool latin1_codepage = true;

namespace {

struct CharRow {
    const char *name;
    uint8_t code;
    bool linedraw;
};

const CharRow char_table[] = {
    {"|", '|', true},      {"-", '-', true},      {"+", '+', true},      {"TT", CH_TT, true},
    {"BT", CH_BT, true},   {"LT", CH_LT, true},   {"RT", CH_RT, true},   {"BRC", CH_BRC, true},
    {"BLC", CH_BLC, true}, {"TRC", CH_TRC, true}, {"TLC", CH_TLC, true}, {"-(", '{', false},
    {")-", '}', false},    {"'g", '`', false},    {"S|", '$', false},    {"$|", '$', false},
};

// A Latin letter: its ISO 8859-1 code and its Mac Roman code (letters that page lacks fall back to
// the plain letter).
struct LatinRow {
    const char *name;
    uint8_t iso;
    uint8_t mac;
};

const LatinRow latin_table[] = {
    {"a'", 225, 135},  // á
    {"e'", 233, 142},  // é
    {"i'", 237, 146},  // í
    {"o'", 243, 151},  // ó
    {"u'", 250, 156},  // ú
    {"A'", 193, 231},  // Á
    {"E'", 201, 131},  // É
    {"I'", 205, 234},  // Í
    {"O'", 211, 238},  // Ó
    {"U'", 218, 242},  // Ú
    {"a'g", 224, 136}, // à
    {"e'g", 232, 143}, // è
    {"i'g", 236, 147}, // ì
    {"o'g", 242, 152}, // ò
    {"u'g", 249, 157}, // ù
    {"A'g", 192, 203}, // À
    {"E'g", 200, 233}, // È
    {"I'g", 204, 237}, // Ì
    {"O'g", 210, 241}, // Ò
    {"U'g", 217, 244}, // Ù
    {"a^", 226, 137},  // â
    {"e^", 234, 144},  // ê
    {"i^", 238, 148},  // î
    {"o^", 244, 153},  // ô
    {"u^", 251, 158},  // û
    {"A^", 194, 229},  // Â
    {"E^", 202, 230},  // Ê
    {"I^", 206, 235},  // Î
    {"O^", 212, 239},  // Ô
    {"U^", 219, 243},  // Û
    {"a~", 227, 139},  // ã
    {"o~", 245, 155},  // õ
    {"A~", 195, 204},  // Ã
    {"O~", 213, 205},  // Õ
    {"a:", 228, 138},  // ä
    {"e:", 235, 145},  // ë
    {"i:", 239, 149},  // ï
    {"o:", 246, 154},  // ö
    {"u:", 252, 159},  // ü
    {"A:", 196, 128},  // Ä
    {"E:", 203, 232},  // Ë
    {"I:", 207, 236},  // Ï
    {"O:", 214, 133},  // Ö
    {"U:", 220, 134},  // Ü
    {"ae", 230, 190},  // æ
    {"AE", 198, 174},  // Æ
    {"ss", 223, 167},  // ß
    {"c,", 231, 141},  // ç
    {"C,", 199, 130},  // Ç
    {"n~", 241, 150},  // ñ
    {"N~", 209, 132},  // Ñ
    {"o/", 248, 191},  // ø
    {"O/", 216, 175},  // Ø
    {"y'", 253, 121},  // ý
    {"Y'", 221, 89},   // Ý
    {"y:", 255, 216},  // ÿ
    {"r!", 161, 193},  // ¡
    {"r?", 191, 192},  // ¿
    {"L-", 163, 163},  // £
    {"Y=", 165, 180},  // ¥
    {"C=", 128, 219},  // €
};

int hex_digit(char c) {
    if (c >= '0' && c <= '9') return c - '0';
    if (c >= 'a' && c <= 'f') return c - 'a' + 10;
    if (c >= 'A' && c <= 'F') return c - 'A' + 10;
    return -1;
}

bool is(std::string_view name, const char *z) { return name.size() == std::strlen(z) && name == z; }

} // namespace

int char_code(std::string_view name, bool *linedraw) {
    *linedraw = false;
    for (const CharRow &r : char_table) {
        if (is(name, r.name)) {
            *linedraw = r.linedraw;
            return r.code;
        }
    }
    // 0xhh: exactly two hexadecimal digits.
    if (name.size() >= 2 && name[0] == '0' && (name[1] == 'x' || name[1] == 'X')) {
        if (name.size() != 4) return -1;
        int hi = hex_digit(name[2]), lo = hex_digit(name[3]);
        return hi < 0 || lo < 0 ? -1 : hi * 16 + lo;
    }
    if (!name.empty() && name.size() <= 3 && name[0] >= '0' && name[0] <= '9') {
        int v = 0;
        for (char c : name) {
            if (c < '0' || c > '9') return -1;
            v = v * 10 + (c - '0');
        }
        return v <= 255 ? v : -1;
    }
    for (const LatinRow &r : latin_table)
        if (is(name, r.name)) return latin1_codepage ? r.iso : r.mac;
    return -1;
}

} // namespace out
