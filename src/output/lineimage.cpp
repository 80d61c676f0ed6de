// The line image: the finished line a stream hands to its sink, packed as one little-endian record.
#include <cstring>

#include "output/rimu.h"
#include "output/rimu_int.h"

namespace out {

static void put16(uint8_t *p, int v) {
    p[0] = (uint8_t)(v & 0xff);
    p[1] = (uint8_t)((v >> 8) & 0xff);
}
static int get16(const uint8_t *p) { return p[0] | (p[1] << 8); }

// Header of 10 bytes; link table closed by two zeros; marker names closed by a zero; run table
// (index of the last run, start and style of each run, end column of the last); text closed by a zero.
int line_build(uint8_t *img, const RimuStream *s) {
    int pos = 10;
    std::memcpy(img + pos, s->link_table, s->linkBytes);
    pos += s->linkBytes;
    img[pos++] = 0;
    img[pos++] = 0;
    int marker_off = pos;
    std::memcpy(img + pos, s->markers, s->marker_bytes);
    pos += s->marker_bytes;
    img[pos++] = 0;
    int run_off = pos;
    // A run that holds no character at the end of the line is left out, but one run always stands.
    int runs = s->run_count;
    while (runs > 1 && s->run_start[runs - 1] >= s->lineLength)
        --runs;
    img[pos++] = (uint8_t)(runs - 1);
    for (int i = 0; i < runs; ++i) {
        img[pos++] = s->run_start[i];
        img[pos++] = s->run_style[i];
    }
    img[pos++] = (uint8_t)s->lineLength;
    int text_off = pos;
    std::memcpy(img + pos, s->line_text, s->lineLength);
    pos += s->lineLength;
    img[pos++] = 0;
    put16(img, pos);
    put16(img + 2, marker_off);
    put16(img + 4, run_off);
    put16(img + 6, text_off);
    img[8] = s->line_continued;
    img[9] = (uint8_t)(s->lineLength + 1); // 255 characters wrap this byte to 0
    return pos;
}

LineView line_view(const uint8_t *image) {
    LineView v{};
    v.continued = image[8] != 0;
    v.text_length = (image[9] + 255) & 0xff;
    v.text = reinterpret_cast<const char *>(image + get16(image + 6));
    const uint8_t *rt = image + get16(image + 4);
    v.run_count = rt[0] + 1;
    v.runs = rt + 1;
    v.last_end = rt[1 + 2 * v.run_count];
    v.links = image + 10;
    v.markers = reinterpret_cast<const char *>(image + get16(image + 2));
    return v;
}

bool link_next(const uint8_t *links, int *pos, LinkView *out) {
    const uint8_t *e = links + *pos;
    if (e[0] == 0 && e[1] == 0) return false;
    out->start = e[0];
    out->end = e[1];
    out->kind = e[2];
    out->arg_length = e[3];
    out->arg = reinterpret_cast<const char *>(e + 4);
    *pos += 4 + e[3] + 1;
    return true;
}

} // namespace out
