// Files on the ado path: ado-files, help files, system files and the rest are found by one search.
#pragma once
#include <string>

namespace session {

// The ado path search: <dir><name>.<suffix>, then <dir><letter>/<name>.<suffix>, for each element of
// $S_ADO. True with the path.
bool findfile(const std::string &name, const std::string &suffix, std::string &path);
// Finds a file named as given (suffix included) on the ado path.
bool find_on_adopath(const char *name, std::string *found_path);
// The directory of an ado path element: a sysdir name or a path, with a trailing '/'.
std::string adopath_dir(const std::string &element);
// The letter subdirectory a file is looked for in.
std::string adosubdir(const std::string &name, const std::string &suffix);

} // namespace session
