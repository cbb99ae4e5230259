// Runs a built program and keeps what it says.
#pragma once

#include <gtest/gtest.h>
#include <sys/wait.h>

#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <sstream>
#include <string>

namespace ozk::examples::test {

inline std::string contents(const std::filesystem::path& file) {
    std::ifstream in(file, std::ios::binary);
    std::ostringstream text;
    text << in.rdbuf();
    return text.str();
}

// A folder of its own for each test, removed afterwards.
class Folder {
  public:
    Folder() {
        std::string name = (std::filesystem::temp_directory_path() / "ozk-examples-XXXXXX").string();
        path_ = mkdtemp(name.data());
    }
    ~Folder() {
        std::error_code ignored;
        std::filesystem::remove_all(path_, ignored);
    }
    Folder(const Folder&) = delete;
    Folder& operator=(const Folder&) = delete;

    std::string file(const std::string& name) const { return (path_ / name).string(); }
    std::string write(const std::string& name, const std::string& text) const {
        std::ofstream(file(name), std::ios::binary) << text;
        return file(name);
    }

  private:
    std::filesystem::path path_;
};

struct Outcome {
    int status;  // exit status, or -1 when a signal ended the program
    std::string out, err;
};

// `environment` is written before the command, as in NAME=value.
inline Outcome run(const std::string& program, const std::string& arguments,
                   const std::string& environment = "") {
    const Folder folder;
    const std::string out = folder.file("out"), err = folder.file("err");
    const std::string command =
        environment + " '" OZK_BINARY_DIR "/bin/" + program + "' " + arguments + " >" + out + " 2>" + err;
    const int status = std::system(command.c_str());
    return {WIFEXITED(status) ? WEXITSTATUS(status) : -1, contents(out), contents(err)};
}

}  // namespace ozk::examples::test
