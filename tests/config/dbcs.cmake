# The multibyte name conversion under a double-byte ANSI code page: wine
# takes the code page from the Unix locale, here Japanese (932).
add_test(NAME config.NameDos2UnixMB.UnderCodePage932
  COMMAND twtest_config --gtest_filter=NameDos2UnixMB.*)
set_tests_properties(config.NameDos2UnixMB.UnderCodePage932 PROPERTIES
  ENVIRONMENT "LANG=ja_JP.UTF-8;LC_ALL=ja_JP.UTF-8" FAIL_REGULAR_EXPRESSION "SKIPPED" LABELS config TIMEOUT 120)
