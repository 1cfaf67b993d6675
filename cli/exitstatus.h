#pragma once

// The exit statuses of crcview, the same for every command.
constexpr int exitFailedTests = 1; // summary --check: a test failed
constexpr int exitUnreadable = 2;  // a file could not be read or written
constexpr int exitUsage = 64;      // a bad command line
