#pragma once

#include <string>

namespace Config {

// What the host platform takes from the process environment. Read once, at
// the first use, and kept for the life of the process, so that a run never
// sees the environment change under it; a host (or a test) that wants other
// places says so with UseSettings.
struct HostSettings {
  std::string tmpDir;      // KARVO_TMPDIR
  std::string runtimeDir;  // XDG_RUNTIME_DIR
  std::string home;        // HOME
  bool verbose = false;    // KARVO_VERBOSE is "1": the log also goes to stderr
};

// The variables as the environment holds them now (unset reads as empty).
HostSettings SettingsFromEnvironment();

// The settings in force: SettingsFromEnvironment() at the first call unless
// UseSettings came first. Safe to call from several threads.
HostSettings Settings();

// Replaces the settings in force for every later call.
void UseSettings(HostSettings settings);

// The user's personal temporary directory, from Settings():
//   - $KARVO_TMPDIR when set and not empty, used as it is (only the last
//     level is created when missing);
//   - else $XDG_RUNTIME_DIR/karvo when XDG_RUNTIME_DIR is set and not empty;
//   - else $HOME/.cache/karvo (the password database's home when HOME is
//     unset or empty).
// A missing directory is created with mode 0700 (for the two default places
// with its missing parents). Never a predictable name in a shared /tmp.
//
// An existing directory that is a symbolic link or is not owned by the
// effective user is refused, because another user could then read or plant
// files there: one warning line goes to stderr and the result is
// "/dev/null" followed by the refused path (with a '/' in between when the
// path is relative), which can never be created, so a caller that tries to
// create it reports that it cannot. The same refusal applies when no home
// directory can be found (the result is then "/dev/null/karvo").
std::string GetPersonalTmpDir();

// The same place, found and created the same way, without the warning line:
// refusal is empty when the directory may be used, else the reason ("it is
// a symbolic link", "it is owned by another user", "no home directory").
// Lets a host refuse a run up front with its own message.
struct PersonalTmpDir {
  std::string path;
  std::string refusal;
};
PersonalTmpDir LocatePersonalTmpDir();
PersonalTmpDir LocatePersonalTmpDir(const HostSettings& settings);

}  // namespace Config
