// A scoped temporary folder for tests that need a real disk, removed with everything in it.
#pragma once

#include <string>

namespace zelmor::test {

class TempFolder {
public:
    TempFolder();
    ~TempFolder();
    TempFolder(const TempFolder&) = delete;
    TempFolder& operator=(const TempFolder&) = delete;

    const std::string& path() const { return path_; }
    /// Absolute path of a relative location inside the folder.
    std::string operator/(const std::string& relative) const { return path_ + "/" + relative; }

    /// Writes a file, creating its parent folders.
    std::string write(const std::string& relative, const std::string& contents) const;
    /// Creates a folder and its parents.
    std::string makeFolder(const std::string& relative) const;

private:
    std::string path_;
};

/// Reads a whole file; an empty string when it cannot be read.
std::string readFile(const std::string& path);

} // namespace zelmor::test
