// zipfile and unzipfile: archives written and read through minizip, each file put in place whole.
#pragma once

namespace session {

// zipfile filelist, saving(zipname [, replace])
int cmd_zipfile(int);
// unzipfile zipname [, replace]
int cmd_unzipfile(int);

} // namespace session
