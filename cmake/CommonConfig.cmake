# Compiler settings shared by every Corvane target, in one interface target.
add_library(corvane_settings INTERFACE)
target_compile_features(corvane_settings INTERFACE cxx_std_20)
target_compile_options(corvane_settings INTERFACE
  -Wall -Wextra -Wpedantic -Wshadow -Wconversion -Wno-sign-conversion)
target_compile_definitions(corvane_settings INTERFACE
  QT_NO_CAST_FROM_ASCII QT_NO_CAST_TO_ASCII QT_NO_NARROWING_CONVERSIONS_IN_CONNECT
  QT_NO_FOREACH CORVANE_VERSION="${PROJECT_VERSION}")
if(CORVANE_WERROR)
  target_compile_options(corvane_settings INTERFACE -Werror)
endif()
if(CORVANE_SANITIZE)
  target_compile_options(corvane_settings INTERFACE -fsanitize=address,undefined -fno-omit-frame-pointer)
  target_link_options(corvane_settings INTERFACE -fsanitize=address,undefined)
endif()
