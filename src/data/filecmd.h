// The `file` command: reading and writing files by handle, text or binary, from programs.
#pragma once

namespace data {

// file open handle using filename, {read|write|append} [text|binary] [replace]
// file read handle [spec]; file write handle [directives]; file seek handle {query|tof|eof|#}
// file set handle byteorder {hilo|lohi|1|2}; file close {handle|_all}; file query
int cmd_file(int);

} // namespace data
