// Standard input as a file that the library can load: a private copy, gone when the object goes.
#ifndef KELDB_TOOLS_STANDARD_INPUT_H
#define KELDB_TOOLS_STANDARD_INPUT_H

#include <string>

namespace tool {

class StandardInputCopy {
public:
    explicit StandardInputCopy(const std::string& ending);  // of the file's name, such as ".csv"
    ~StandardInputCopy();
    StandardInputCopy(const StandardInputCopy&) = delete;
    StandardInputCopy& operator=(const StandardInputCopy&) = delete;

    bool ok() const { return ok_; }  // false when reading or copying failed, which was told
    const std::string& path() const { return path_; }

private:
    std::string path_;
    bool ok_ = false;
};

}  // namespace tool

#endif
