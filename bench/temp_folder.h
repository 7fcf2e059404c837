// A folder that lives as long as the program.

#ifndef ORLA_BENCH_TEMP_FOLDER_H
#define ORLA_BENCH_TEMP_FOLDER_H

#include <cstdlib>
#include <filesystem>
#include <string>

namespace bench {

class TempFolder {
 public:
  TempFolder() : path_(std::filesystem::temp_directory_path() / "orla-bench-XXXXXX") {
    if (mkdtemp(path_.data()) == nullptr) std::abort();
  }
  ~TempFolder() { std::filesystem::remove_all(path_); }
  TempFolder(const TempFolder &) = delete;
  TempFolder &operator=(const TempFolder &) = delete;

  std::string file(const std::string &name) const { return path_ + "/" + name; }

 private:
  std::string path_;
};

inline const TempFolder &temp_folder() {
  static const TempFolder folder;
  return folder;
}

}  // namespace bench

#endif
