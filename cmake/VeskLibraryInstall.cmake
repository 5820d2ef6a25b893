# The shared layer (platform layer, codec, records, transducers, events) as
# a development kit, so that the module's other tasks build on it without
# copies of its sources: the headers under include/vesk in their folders,
# the static library, a CMake package (Vesk::vesk) and a pkg-config file.
# All of it is the install component "dev", which packaging ships on its own;
# every destination is relative, so it follows --prefix and DESTDIR.
include(GNUInstallDirs)
include(CMakePackageConfigHelpers)

set(VESK_INSTALL_INCLUDEDIR ${CMAKE_INSTALL_INCLUDEDIR}/vesk)
# GNUInstallDirs gives a Debian multiarch library directory only to native
# builds; a cross build's library belongs under its target's directory too,
# or the target's -dev package would put it where the build machine's
# compiler looks.
set(VESK_INSTALL_LIBDIR ${CMAKE_INSTALL_LIBDIR})
if(CMAKE_CROSSCOMPILING AND CMAKE_LIBRARY_ARCHITECTURE AND CMAKE_INSTALL_LIBDIR STREQUAL "lib")
  set(VESK_INSTALL_LIBDIR lib/${CMAKE_LIBRARY_ARCHITECTURE})
endif()
set(VESK_INSTALL_CMAKEDIR ${VESK_INSTALL_LIBDIR}/cmake/Vesk)

# Headers a task builds on: those of the library folders, and the lists
# (.def) that headers include to make their enums.
file(GLOB VESK_PUBLIC_HEADERS CONFIGURE_DEPENDS RELATIVE ${CMAKE_SOURCE_DIR}
     ${CMAKE_SOURCE_DIR}/Utilities/*.h ${CMAKE_SOURCE_DIR}/Sonar4/*.h ${CMAKE_SOURCE_DIR}/Database/*.h
     ${CMAKE_SOURCE_DIR}/Utilities/*.def ${CMAKE_SOURCE_DIR}/Sonar4/*.def ${CMAKE_SOURCE_DIR}/Database/*.def)
foreach(header ${VESK_PUBLIC_HEADERS})
  get_filename_component(folder ${header} DIRECTORY)
  install(FILES ${header} DESTINATION ${VESK_INSTALL_INCLUDEDIR}/${folder} COMPONENT dev)
endforeach()

# What a task compiling the headers must share with the library: C++17, and
# the definitions every product file is compiled with (they fix the widths
# of off_t and time_t, which record and file classes hold). A sanitized
# library calls into the sanitizer runtimes, so whatever links it must link
# them as well.
get_directory_property(VESK_ABI_DEFINITIONS DIRECTORY ${CMAKE_SOURCE_DIR} COMPILE_DEFINITIONS)
target_compile_features(vesk PUBLIC cxx_std_17)
target_include_directories(vesk INTERFACE $<INSTALL_INTERFACE:${VESK_INSTALL_INCLUDEDIR}>)
if(VESK_ABI_DEFINITIONS)
  target_compile_definitions(vesk INTERFACE "$<INSTALL_INTERFACE:${VESK_ABI_DEFINITIONS}>")
endif()
set(VESK_INTERFACE_LINK_FLAGS)
if(VESK_SANITIZE)
  set(VESK_INTERFACE_LINK_FLAGS -fsanitize=address,undefined)
  target_link_options(vesk INTERFACE "$<INSTALL_INTERFACE:${VESK_INTERFACE_LINK_FLAGS}>")
endif()

install(TARGETS vesk EXPORT VeskTargets ARCHIVE DESTINATION ${VESK_INSTALL_LIBDIR} COMPONENT dev)
install(EXPORT VeskTargets NAMESPACE Vesk:: DESTINATION ${VESK_INSTALL_CMAKEDIR} COMPONENT dev)

configure_package_config_file(${CMAKE_SOURCE_DIR}/cmake/VeskConfig.cmake.in
                              ${CMAKE_BINARY_DIR}/VeskConfig.cmake INSTALL_DESTINATION ${VESK_INSTALL_CMAKEDIR})
# A task links the library into its own executable, so only its sources meet
# this version, and the rule for them is the major version: within one the
# headers only grow, so a task written for 13.x builds with any later 13.y;
# the major version is raised when a class, a record layout or a signature a
# task may use changes or goes. The file also refuses a library built for
# another pointer width (an amd64 install for an armhf task).
write_basic_package_version_file(${CMAKE_BINARY_DIR}/VeskConfigVersion.cmake VERSION ${PROJECT_VERSION}
                                 COMPATIBILITY SameMajorVersion)
install(FILES ${CMAKE_BINARY_DIR}/VeskConfig.cmake ${CMAKE_BINARY_DIR}/VeskConfigVersion.cmake
        DESTINATION ${VESK_INSTALL_CMAKEDIR} COMPONENT dev)

# vesk.pc names the prefix it was installed under (/usr on a unit, the
# --prefix of `cmake --install`), which only the install step knows: the
# file is completed then, straight into its place.
list(TRANSFORM VESK_ABI_DEFINITIONS PREPEND " -D" OUTPUT_VARIABLE VESK_PC_DEFINITIONS)
list(JOIN VESK_PC_DEFINITIONS "" VESK_PC_DEFINITIONS)
set(VESK_PC_LINK_FLAGS)
foreach(flag ${VESK_INTERFACE_LINK_FLAGS})
  string(APPEND VESK_PC_LINK_FLAGS " ${flag}")
endforeach()
set(VESK_PC_PREFIX "@CMAKE_INSTALL_PREFIX@")
configure_file(${CMAKE_SOURCE_DIR}/cmake/vesk.pc.in ${CMAKE_BINARY_DIR}/vesk.pc.in @ONLY)
install(CODE "
  set(vesk_pc \"\${CMAKE_INSTALL_PREFIX}/${VESK_INSTALL_LIBDIR}/pkgconfig/vesk.pc\")
  message(STATUS \"Installing: \$ENV{DESTDIR}\${vesk_pc}\")
  configure_file(\"${CMAKE_BINARY_DIR}/vesk.pc.in\" \"\$ENV{DESTDIR}\${vesk_pc}\" @ONLY)
  list(APPEND CMAKE_INSTALL_MANIFEST_FILES \"\${vesk_pc}\")
" COMPONENT dev)
