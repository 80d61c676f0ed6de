// Test helper: makes a stream current for the duration of a test and keeps what reaches it, both as
// the lines a sink receives and as the markup written to a Rimu log.
#pragma once
#include <unistd.h>

#include <cstdio>
#include <string>

#include "output/channel.h"
#include "output/rimu.h"

struct MsgCapture {
    out::RimuStream *stream;
    out::RimuStream *former;
    out::Chan saved;
    std::FILE *log;
    std::string lines;   // finished lines, each with its newline
    std::string partial; // a line shown at a flush and not yet finished

    MsgCapture() : stream(out::stream_new()), former(out::ch.current), saved(out::ch), log(std::tmpfile()) {
        stream->width = 254;
        out::stream_set_sink(stream, sink, this);
        out::stream_add_log(stream, fileno(log), true);
        out::ch.current = stream;
        out::ch.OutputLevel = out::LVL_NORMAL;
        out::ch.OutputClass = out::CLS_RESULT;
    }
    ~MsgCapture() {
        out::stream_remove_log(stream, fileno(log));
        out::stream_free(stream);
        std::fclose(log);
        out::ch = saved;
        out::ch.current = former;
    }

    static int sink(void *ctx, const uint8_t *image, int code) {
        auto *c = static_cast<MsgCapture *>(ctx);
        if (code == out::SINK_LINE) {
            c->lines += out::line_view(image).text;
            c->lines += '\n';
            c->partial.clear();
        } else if (code == out::SINK_PARTIAL) {
            c->partial = out::line_view(image).text;
        } else if (code == out::SINK_NEWLINE) {
            c->lines += '\n';
        }
        return 0;
    }

    // What the user sees: the lines as rendered.
    std::string text() {
        out::stream_flush(stream);
        return lines + partial;
    }

    // The markup as written, without the colour tags the channel puts in when the class changes.
    std::string raw() {
        out::stream_flush_logs(stream);
        std::string all;
        char buf[4096];
        off_t at = 0;
        ssize_t n;
        while ((n = pread(fileno(log), buf, sizeof buf, at)) > 0) {
            all.append(buf, (size_t)n);
            at += n;
        }
        for (const char *tag : {"{res}", "{txt}", "{err}", "{com}"}) {
            size_t p;
            while ((p = all.find(tag)) != std::string::npos)
                all.erase(p, 5);
        }
        return all;
    }

    // Forget what came so far.
    void reset() {
        text();
        raw();
        lines.clear();
        partial.clear();
        std::fflush(log);
        if (ftruncate(fileno(log), 0) != 0) std::perror("ftruncate");
    }
};
