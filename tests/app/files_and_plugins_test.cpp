// Atomic file writing and the plug-in search, against the built plug-in.
#include <gtest/gtest.h>
#include <sys/stat.h>

#include <filesystem>
#include <fstream>
#include <iterator>

#include "app/plugin_loader.h"
#include "host/file_io.h"
#include "tests/support/scratch_dir.h"

using ztest::readFile;
using ztest::ScratchDir;

using namespace karvo_app;

namespace {

long entriesIn(const std::string& dir) { return std::distance(std::filesystem::directory_iterator(dir), {}); }

}  // namespace

TEST(AtomicFile, WritesTheWholeText) {
  ScratchDir dir;
  KARVO::writeFileAtomically(dir / "tree.nwk", "(a:1,b:1);\n");
  EXPECT_EQ(readFile(dir / "tree.nwk"), "(a:1,b:1);\n");
  EXPECT_EQ(entriesIn(dir.path()), 1);
}

TEST(AtomicFile, ReplacesAnExistingFileKeepingItsPermissions) {
  ScratchDir dir;
  const std::string path = dir.write("tree.nwk", "old contents that are longer");
  ::chmod(path.c_str(), 0640);
  KARVO::writeFileAtomically(path, "new");
  EXPECT_EQ(readFile(path), "new");
  struct stat info {};
  ASSERT_EQ(::stat(path.c_str(), &info), 0);
  EXPECT_EQ(info.st_mode & 07777, 0640u);
}

TEST(AtomicFile, FailureNamesThePathAndLeavesNothing) {
  ScratchDir dir;
  const std::string path = dir / "missing/tree.nwk";
  try {
    KARVO::writeFileAtomically(path, "x");
    FAIL() << "no error";
  } catch (const std::runtime_error& error) {
    EXPECT_NE(std::string(error.what()).find(path), std::string::npos);
  }
  EXPECT_EQ(entriesIn(dir.path()), 0);
}

TEST(AtomicFile, FolderOfABareNameIsTheCurrentFolder) {
  EXPECT_EQ(KARVO::folderOf("out.fa"), ".");
  EXPECT_EQ(KARVO::folderOf("/out.fa"), "/");
  EXPECT_EQ(KARVO::folderOf("a/b/out.fa"), "a/b");
}

TEST(PluginSearch, ExplicitFolderIsTheOnlyPlace) {
  EXPECT_EQ(pluginSearchDirs({"/opt/p", "/a:/b", "/bin"}), std::vector<std::string>{"/opt/p"});
}

TEST(PluginSearch, PathVariableComesBeforeTheExecutableFolder) {
  EXPECT_EQ(pluginSearchDirs({"", "/a::/b:", "/bin"}), (std::vector<std::string>{"/a", "/b", "/bin"}));
}

TEST(PluginLoader, MissingPluginNamesTheFoldersSearched) {
  try {
    loadPlugin({"/nonexistent-a", "/nonexistent-b"}, kPluginFileNames);
    FAIL() << "no error";
  } catch (const PluginError& error) {
    const std::string message = error.what();
    EXPECT_NE(message.find("libZemtraBatch.so.0 or libZemtra.so.0"), std::string::npos);
    EXPECT_NE(message.find("/nonexistent-a, /nonexistent-b"), std::string::npos);
  }
}

TEST(PluginLoader, PrefersTheWindowlessBuildAndLoadsNoToolkit) {
  auto plugin = loadPlugin({PLUGIN_DIR}, kPluginFileNames);
  EXPECT_TRUE(plugin->path().ends_with("/libZemtraBatch.so.0"));
  EXPECT_NE(plugin->executeWithParameters(), nullptr);
  EXPECT_NE(plugin->symbol("SetDebugOutput"), nullptr);
  EXPECT_EQ(plugin->symbol("Execute1"), nullptr);
  std::ifstream maps("/proc/self/maps");
  const std::string mapped((std::istreambuf_iterator<char>(maps)), std::istreambuf_iterator<char>());
  EXPECT_EQ(mapped.find("libQt6"), std::string::npos);
}

TEST(PluginLoader, TakesTheWindowedBuildWhereAFolderHasOnlyThat) {
  if (!ZEMTRA_WINDOWED) GTEST_SKIP() << "built without Qt 6";
  auto plugin = loadPlugin({PLUGIN_DIR}, {"libZemtra.so.0"});
  EXPECT_NE(plugin->executeWithParameters(), nullptr);
  EXPECT_NE(plugin->symbol("Execute1"), nullptr);
}

TEST(PluginLoader, SymbolsOfDependenciesDoNotCount) {
  auto plugin = loadPlugin({PLUGIN_DIR}, kPluginFileNames);
  // Defined by libkarvo, which the plug-in depends on.
  EXPECT_EQ(plugin->symbol("_ZN6Config17GetPersonalTmpDirEv"), nullptr);
}

TEST(PluginList, ListsThePluginOnceAndNoOtherLibrary) {
  if (!ZEMTRA_WINDOWED) GTEST_SKIP() << "built without Qt 6";
  const std::vector<PluginInfo> plugins = listPlugins({PLUGIN_DIR});
  ASSERT_EQ(plugins.size(), 1u);
  EXPECT_TRUE(plugins[0].name.starts_with("libZemtra.so"));
}
