#pragma once
// Files for the tests: one temporary folder per test process, and the sample media.
#include <string>
#include <vector>

namespace testsupport {

// This process's temporary folder, made on first use and removed at exit unless
// HALVANE_KEEP_TEST_FILES is set (for a look at what a test wrote).
std::string temporaryFolder();

// HALVANE_MEDIA_DIR + "/" + relative; empty when the file is missing.
std::string sample(const std::string& relative);

// The bytes of a file; empty when it cannot be read.
std::string fileContents(const std::string& path);

// The paths in `folder` whose name contains `part` (a partial file among them).
std::vector<std::string> entriesNamed(const std::string& folder, const std::string& part);

}  // namespace testsupport
