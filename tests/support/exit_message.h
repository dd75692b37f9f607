#pragma once
// Death tests of the library's fatal errors: exit status 1 with a message on standard output.

#include <gtest/gtest.h>
#include <unistd.h>

// The message goes to standard output, a death test looks at standard error.
#define EXPECT_EXIT_MESSAGE(statement, message) \
  EXPECT_EXIT(                                  \
      {                                         \
        dup2(STDERR_FILENO, STDOUT_FILENO);     \
        statement;                              \
      },                                        \
      testing::ExitedWithCode(1), message)
