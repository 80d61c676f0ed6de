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

int line_build(uint8_t *img, const RimuStream *s) {
    int pos = 10;
    std::memcpy(img + pos, s->linkTable, s->linkBytes);
    pos += s->linkBytes;
    img[pos++] = 0;
    img[pos++] = 0;
    int markerOff = pos;
    std::memcpy(img + pos, s->markers, s->markerBytes);
    pos += s->markerBytes;
    img[pos++] = 0;
    int runOff = pos;
    int runs = s->runCount > 0 ? s->runCount : 1;
    img[pos++] = (uint8_t)(runs - 1);
    for (int i = 0; i < runs; ++i) {
        img[pos++] = s->runCount > 0 ? s->runStart[i] : 0;
        img[pos++] = s->runCount > 0 ? s->runStyle[i] : s->style;
    }
    img[pos++] = (uint8_t)s->lineLength;
    int textOff = pos;
    std::memcpy(img + pos, s->lineText, s->lineLength);
    pos += s->lineLength;
    img[pos++] = 0;
    put16(img, pos);
    put16(img + 2, markerOff);
    put16(img + 4, runOff);
    put16(img + 6, textOff);
    img[8] = s->lineContinued;
    img[9] = (uint8_t)(s->lineLength + 1);
    return pos;
}

LineView line_view(const uint8_t *image) {
    LineView v{};
    v.continued = image[8] != 0;
    v.textLength = image[9] - 1;
    v.text = reinterpret_cast<const char *>(image + get16(image + 6));
    const uint8_t *rt = image + get16(image + 4);
    v.runCount = rt[0] + 1;
    v.runs = rt + 1;
    v.lastEnd = rt[1 + 2 * v.runCount];
    v.links = image + 10;
    v.markers = reinterpret_cast<const char *>(image + get16(image + 2));
    return v;
}

}  // namespace out
