#include "platform/json_settings.h"

#include <fcntl.h>
#include <sys/file.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <cstdlib>
#include <cstring>
#include <filesystem>
#include <fstream>
#include <sstream>

namespace skimlet {

namespace fs = std::filesystem;

namespace {

enum class FileState { missing, object, corrupt };

// The file's contents, read into `values` when it holds a JSON object.
FileState readFile(const fs::path& path, nlohmann::json& values) {
  std::ifstream in(path);
  if (!in) return fs::exists(path) ? FileState::corrupt : FileState::missing;
  std::stringstream text;
  text << in.rdbuf();
  auto parsed = nlohmann::json::parse(text.str(), nullptr, /*allow_exceptions=*/false);
  if (!parsed.is_object()) return FileState::corrupt;
  values = std::move(parsed);
  return FileState::object;
}

// The file that is actually written: the target of a symbolic link, followed to its end.
fs::path resolved(const fs::path& path) {
  std::error_code ec;
  fs::path p = fs::weakly_canonical(fs::absolute(path, ec), ec);
  return ec ? path : p;
}

// Creates the missing folders of `dir`, private to the user.
bool makeFolders(const fs::path& dir) {
  std::error_code ec;
  if (dir.empty() || fs::is_directory(dir, ec)) return true;
  if (!makeFolders(dir.parent_path())) return false;
  return ::mkdir(dir.c_str(), 0700) == 0 || errno == EEXIST;
}

// A free name beside `path` for a corrupt file kept aside.
fs::path asideName(const fs::path& path) {
  fs::path aside = path;
  aside += ".corrupt";
  for (int n = 1; fs::exists(aside); ++n) {
    aside = path;
    aside += ".corrupt." + std::to_string(n);
  }
  return aside;
}

std::string errorText(int error) { return std::strerror(error); }

// Holds an exclusive lock on a file beside the settings while it lives.
class FileLock {
 public:
  explicit FileLock(const fs::path& path) {
    fs::path lock = path;
    lock += ".lock";
    fd_ = ::open(lock.c_str(), O_RDWR | O_CREAT | O_CLOEXEC, 0600);
    if (fd_ >= 0 && ::flock(fd_, LOCK_EX) != 0) {
      ::close(fd_);
      fd_ = -1;
    }
  }
  ~FileLock() {
    if (fd_ >= 0) ::close(fd_);  // closing releases the lock
  }
  bool held() const { return fd_ >= 0; }

 private:
  int fd_ = -1;
};

// Writes `text` to `path` through a private temporary file in the same folder; an error's text
// when it fails.
std::optional<std::string> replaceFile(const fs::path& path, const std::string& text) {
  fs::path temp = path;
  temp += ".tmp." + std::to_string(::getpid());
  int fd = ::open(temp.c_str(), O_WRONLY | O_CREAT | O_TRUNC | O_CLOEXEC, 0600);
  if (fd < 0) return errorText(errno);
  size_t done = 0;
  while (done < text.size()) {
    ssize_t n = ::write(fd, text.data() + done, text.size() - done);
    if (n < 0 && errno == EINTR) continue;
    if (n <= 0) break;
    done += static_cast<size_t>(n);
  }
  int error = done == text.size() ? 0 : (errno ? errno : EIO);
  if (!error && ::fsync(fd) != 0) error = errno;
  if (::close(fd) != 0 && !error) error = errno;
  if (!error && ::rename(temp.c_str(), path.c_str()) != 0) error = errno;
  if (error) {
    ::unlink(temp.c_str());
    return errorText(error);
  }
  return std::nullopt;
}

}  // namespace

JsonSettings::JsonSettings(std::string path) : path_(std::move(path)) {
  if (path_.empty()) return;
  std::error_code ec;
  seen_ = fs::last_write_time(path_, ec);
  if (readFile(path_, values_) == FileState::corrupt)
    problem_ = path_ + " is not a settings file Skimlet can read; it is left as it is and will be kept aside as " +
               asideName(resolved(path_)).string() + " at the next change";
}

std::string JsonSettings::defaultPath() {
  const char* xdg = std::getenv("XDG_CONFIG_HOME");
  if (xdg && *xdg == '/') return (fs::path(xdg) / "skimlet" / "settings.json").string();
  const char* home = std::getenv("HOME");
  if (home && *home) return (fs::path(home) / ".config" / "skimlet" / "settings.json").string();
  return {};
}

bool JsonSettings::reload() {
  if (path_.empty()) return false;
  nlohmann::json values;
  if (readFile(path_, values) != FileState::object) return false;
  std::lock_guard lock(mutex_);
  values_ = std::move(values);
  return true;
}

std::optional<std::string> JsonSettings::problem() {
  std::lock_guard lock(mutex_);
  return problem_;
}

std::optional<std::string> JsonSettings::saveError() {
  std::lock_guard lock(mutex_);
  return saveError_;
}

void JsonSettings::refresh() {
  if (path_.empty()) return;
  std::error_code ec;
  const auto modified = fs::last_write_time(path_, ec);
  if (ec || modified == seen_) return;
  nlohmann::json current;
  if (readFile(path_, current) != FileState::object) return;
  values_ = std::move(current);
  seen_ = modified;
}

std::optional<std::string> JsonSettings::string(std::string_view key) {
  std::lock_guard lock(mutex_);
  refresh();
  auto it = values_.find(key);
  if (it == values_.end() || !it->is_string()) return std::nullopt;
  return it->get<std::string>();
}

std::optional<std::int64_t> JsonSettings::integer(std::string_view key) {
  std::lock_guard lock(mutex_);
  refresh();
  auto it = values_.find(key);
  if (it == values_.end() || !it->is_number_integer()) return std::nullopt;
  return it->get<std::int64_t>();
}

void JsonSettings::setString(std::string_view key, const std::string& value) {
  std::lock_guard lock(mutex_);
  update([&](nlohmann::json& v) { v[std::string(key)] = value; });
}

void JsonSettings::setInteger(std::string_view key, std::int64_t value) {
  std::lock_guard lock(mutex_);
  update([&](nlohmann::json& v) { v[std::string(key)] = value; });
}

void JsonSettings::remove(std::string_view key) {
  std::lock_guard lock(mutex_);
  update([&](nlohmann::json& v) { v.erase(std::string(key)); });
}

template <class Change>
void JsonSettings::update(Change change) {
  change(values_);  // this process sees its change whatever happens to the file
  saveError_ = "Couldn't save: no place for settings";
  if (path_.empty()) return;
  const fs::path target = resolved(path_);
  std::error_code ec;
  if (fs::exists(target, ec) && !fs::is_regular_file(target, ec)) {
    saveError_ = "Couldn't save to " + path_ + ": it is not a regular file";
    return;
  }
  if (!makeFolders(target.parent_path())) {
    saveError_ =
        "Couldn't save to " + path_ + ": can't create " + target.parent_path().string() + " (" + errorText(errno) + ")";
    return;
  }
  FileLock lock(target);
  if (!lock.held()) {
    saveError_ = "Couldn't save to " + path_ + ": can't lock it (" + errorText(errno) + ")";
    return;
  }
  // Another process may have changed other keys since this store read the file.
  nlohmann::json current = nlohmann::json::object();
  if (readFile(target, current) == FileState::corrupt) {
    const fs::path aside = asideName(target);
    if (::rename(target.c_str(), aside.c_str()) != 0) {
      saveError_ = "Couldn't save to " + path_ + ": it is corrupt and can't be moved aside (" + errorText(errno) + ")";
      return;
    }
    problem_ = path_ + " was not a settings file Skimlet can read; it was kept as " + aside.string();
    current = nlohmann::json::object();
  }
  change(current);
  if (auto error = replaceFile(target, current.dump(2) + "\n")) {
    saveError_ = "Couldn't save to " + path_ + ": " + *error;
    return;
  }
  saveError_.reset();
  values_ = std::move(current);
  seen_ = fs::last_write_time(target, ec);
}

}  // namespace skimlet
