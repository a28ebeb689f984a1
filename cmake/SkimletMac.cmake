# The macOS side: the backend's system calls (src/backends/mac/*.mm) and the menu-bar
# application bundle (apps/mac). Included only on Apple platforms; everything here is Apple-only.
#
# The Swift file needs a generator that compiles Swift (Ninja, as scripts/build.sh uses, or
# Xcode); with another generator the application is left out and the rest still builds.
option(SKIMLET_MAC_APP "Build the Skimlet.app bundle" ON)
enable_language(OBJCXX)

file(GLOB SKIMLET_MAC_SYSTEM_SOURCES CONFIGURE_DEPENDS ${PROJECT_SOURCE_DIR}/src/backends/mac/*.mm)
add_library(skimlet_backends_mac_system STATIC ${SKIMLET_MAC_SYSTEM_SOURCES})
target_link_libraries(skimlet_backends_mac_system PUBLIC
  skimlet_backends_mac skimlet_platform
  "-framework ApplicationServices" "-framework AppKit" "-framework QuartzCore")
target_compile_options(skimlet_backends_mac_system PRIVATE -fobjc-arc)

if(SKIMLET_MAC_APP AND CMAKE_GENERATOR MATCHES "Ninja|Xcode")
  enable_language(Swift)
  set(CMAKE_Swift_LANGUAGE_VERSION 5)
  file(GLOB SKIMLET_MAC_APP_SOURCES CONFIGURE_DEPENDS
    ${PROJECT_SOURCE_DIR}/apps/mac/*.mm ${PROJECT_SOURCE_DIR}/apps/mac/*.swift)
  add_executable(Skimlet MACOSX_BUNDLE ${SKIMLET_MAC_APP_SOURCES})
  set_target_properties(Skimlet PROPERTIES
    OUTPUT_NAME Skimlet
    MACOSX_BUNDLE_INFO_PLIST ${PROJECT_SOURCE_DIR}/apps/mac/Info.plist.in
    MACOSX_BUNDLE_GUI_IDENTIFIER "app.skimlet.Skimlet"
    MACOSX_BUNDLE_BUNDLE_NAME Skimlet
    MACOSX_BUNDLE_SHORT_VERSION_STRING "0.1"
    MACOSX_BUNDLE_BUNDLE_VERSION "1")
  target_include_directories(Skimlet PRIVATE ${PROJECT_SOURCE_DIR}/apps/mac)
  # main() is main.mm's; the Swift file is a library of C entry points, not a script.
  target_compile_options(Skimlet PRIVATE
    $<$<COMPILE_LANGUAGE:OBJCXX>:-fobjc-arc> $<$<COMPILE_LANGUAGE:Swift>:-parse-as-library>)
  # The Swift driver links the bundle (the mixed target's linker language); it is told about the
  # C++ library the rest is written against.
  target_link_libraries(Skimlet PRIVATE
    skimlet_backends_mac_system skimlet_palette skimlet_inspector
    "-framework AppKit" "-framework Carbon" c++)
  # FoundationModels exists from macOS 26 only: weakly linked, so Skimlet still starts on older
  # systems, where the Swift code's availability checks keep it from being touched.
  target_link_options(Skimlet PRIVATE "LINKER:-weak_framework,FoundationModels")
endif()
