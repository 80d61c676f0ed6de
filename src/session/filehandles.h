// The table of open file handles behind `file`: opening, reading, writing, seeking and closing files
// by name, so that a later layer (the Kiln file functions) can share it with the command.
#pragma once
#include <cstdint>
#include <string>
#include <string_view>
#include <vector>

namespace session {

struct FileHandle {
    std::string name; // the handle
    std::string path; // as the user wrote it, for messages and `file query`
    std::string tmp;  // a new file written beside path, renamed into place at close ("" when none)
    int fd = -1;
    bool can_read = false, can_write = false;
    bool binary = false;
    bool hilo = false;      // binary numbers are written and read most significant byte first
    bool at_eof = false;    // the last read found the end
    int col = 0;            // bytes written since the last line feed, for _column()
    std::string wbuf;       // bytes written and not yet flushed
    std::vector<char> rbuf; // bytes read ahead
    size_t rpos = 0;        // next unread byte of rbuf
};

// How a file is opened: read, write (a new file, renamed into place when closed), append, or read and
// write in place.
struct FileOpen {
    bool read = false, write = false, append = false;
    bool binary = false, replace = false;
};

// Opens path under handle name. 0, or the code with the message written: 110 the handle is open,
// 601 no file to read, 602 exists without replace, 603 cannot be opened, 608 read-only, 681 too many
// open files.
int fh_open(std::string_view name, const std::string &path, const FileOpen &how);
// The open handle of that name, or null (quiet).
FileHandle *fh_find(std::string_view name);
// The same, writing "file handle <name> not found" (601) when there is none.
int fh_get(std::string_view name, FileHandle *&h);
// Closes a handle: unwritten bytes go out, a new file is renamed into place. 0, or 693/699 (write
// failed: the new file is removed, an old one stays), 694 the rename failed; the handle is gone in
// every case.
int fh_close(FileHandle *h);
// Closes every handle; the first failure is returned, after all are closed.
int fh_close_all();
// Closes, quietly, the handles whose names tempname made from number from up to (not including) to.
void fh_close_temp(int64_t from, int64_t to);
// The handles open, in the order they were opened.
const std::vector<FileHandle *> &fh_list();

// Writes bytes through the handle's buffer; fh_flush sends them to the file. 0, or 693/699 with the
// message written (and 198 "file not open for writing").
int fh_write(FileHandle &h, std::string_view bytes);
int fh_flush(FileHandle &h);
// Reads a line (without its line feed or carriage return and line feed) into line. 0 with *eof set
// when nothing was left; 692 on a read error; 198 "file not open for reading".
int fh_read_line(FileHandle &h, std::string &line, bool *eof);
// Reads n bytes into out. *got gets how many came (fewer at the end of the file). 0, or 692/198.
int fh_read_bytes(FileHandle &h, size_t n, std::string &out, size_t *got);
// The position in bytes from the start, and moving to one. 651 past the end of a file open only for
// reading.
int fh_tell(FileHandle &h, int64_t *pos);
int fh_seek(FileHandle &h, int64_t pos);
int fh_seek_end(FileHandle &h);

// What handles a session keeps open at the same time.
inline constexpr int FH_MAX = 50;

} // namespace session
