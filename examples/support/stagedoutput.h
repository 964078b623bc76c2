/// \file
/// An output directory that gets all of its files or none.
#pragma once

#include <cerrno>
#include <cstdlib>
#include <cstring>
#include <filesystem>
#include <fstream>
#include <stdexcept>
#include <string>

namespace example
{
namespace fs = std::filesystem;

/// Files are written into a temporary directory inside the output directory, and `commit` moves them up.
/// Without `commit` the destructor removes what was written, and the output directory too if it was made
/// here.
class StagedOutput
{
public:
    /// Makes the directory, but not its parents. Throws std::runtime_error if it cannot be made or written
    /// to.
    explicit StagedOutput(fs::path const& directory) : target(directory)
    {
        std::error_code error;
        made = fs::create_directory(target, error);
        std::string name = (target / ".unfinished-XXXXXX").string();
        if (!error && mkdtemp(name.data()) == nullptr) error = {errno, std::generic_category()};
        if (error && made) fs::remove(target);
        if (error) throw std::runtime_error("cannot write to " + target.string() + ": " + error.message());
        stage = name;
    }
    ~StagedOutput()
    {
        std::error_code ignored;
        fs::remove_all(stage, ignored);
        if (made) fs::remove(target, ignored); // fails, as it should, once files are in it
    }
    StagedOutput(StagedOutput const&) = delete;
    StagedOutput& operator=(StagedOutput const&) = delete;

    fs::path const& directory() const { return stage; } ///< where to write

    /// Writes a text file there. Throws std::runtime_error if not all of it could be written.
    void write(std::string const& name, std::string const& text) const
    {
        std::ofstream stream(stage / name);
        if (!(stream << text << std::flush))
            throw std::runtime_error("cannot write " + (stage / name).string());
    }

    /// Replaces files of the same names.
    void commit()
    {
        for (auto const& entry : fs::directory_iterator(stage))
            fs::rename(entry, target / entry.path().filename());
        fs::remove(stage);
    }

private:
    fs::path target, stage;
    bool made = false;
};

} // namespace example
