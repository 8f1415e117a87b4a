# What a release holds and how it is packed: the three programs, the README,
# the user guide and the notice; a ZIP for Windows, a .tar.gz and a .deb for
# Linux. The version is the project's; each Windows program carries it in its
# version resource. Packed programs are stripped and carry a debug link; their
# debug information goes in a separate archive (target package_debug).

# sqxa_program_version(TARGET DESCRIPTION): the version resource (Windows) and
# SQXA_VERSION for the program's own --version.
function(sqxa_program_version target description)
  target_compile_definitions(${target} PRIVATE "SQXA_VERSION=\"${PROJECT_VERSION}\"")
  if(WIN32)
    set(SQXA_RC_NAME ${target})
    set(SQXA_RC_DESCRIPTION "${description}")
    configure_file(${PROJECT_SOURCE_DIR}/cmake/version.rc.in
                   ${CMAKE_CURRENT_BINARY_DIR}/${target}_version.rc @ONLY)
    target_sources(${target} PRIVATE ${CMAKE_CURRENT_BINARY_DIR}/${target}_version.rc)
  endif()
endfunction()

# sqxa_licence(VAR TITLE CANDIDATE...): appends the first candidate file that
# exists to VAR under a heading. Which file holds a library's terms depends on
# the Debian release (package names change with versions), hence the list.
function(sqxa_licence var title)
  foreach(candidate IN LISTS ARGN)
    if(EXISTS "${candidate}")
      file(READ "${candidate}" text)
      set_property(DIRECTORY APPEND PROPERTY CMAKE_CONFIGURE_DEPENDS "${candidate}")
      set(${var} "${${var}}\n\n${title}\n(${candidate})\n\n${text}" PARENT_SCOPE)
      return()
    endif()
  endforeach()
  list(JOIN ARGN ", " tried)
  message(WARNING "No licence text for ${title} (looked for ${tried}); no NOTICE for the packages")
  set(sqxa_licence_missing TRUE PARENT_SCOPE)
endfunction()

# The packages' NOTICE: the project's own notice, then the full terms of the
# third-party code linked into the programs of this build, copied from the
# build machine's Debian packages (nothing is fetched). Without one of them
# no NOTICE is written, and installing or packing fails.
function(sqxa_notice out)
  file(READ ${PROJECT_SOURCE_DIR}/NOTICE notice)
  set_property(DIRECTORY APPEND PROPERTY CMAKE_CONFIGURE_DEPENDS ${PROJECT_SOURCE_DIR}/NOTICE)
  set(rule "================================================================")
  set(texts "")
  set(sqxa_licence_missing FALSE)
  if(WIN32)
    sqxa_licence(texts "${rule}\nMinGW-w64 runtime and winpthreads: copyright and terms"
                 /usr/share/doc/mingw-w64-x86-64-dev/copyright
                 /usr/share/doc/mingw-w64-common/copyright)
    sqxa_licence(texts "${rule}\nGCC runtime: copyright and terms, with the GCC Runtime Library Exception"
                 /usr/share/doc/gcc-mingw-w64-x86-64-posix-runtime/copyright
                 /usr/share/doc/gcc-mingw-w64-base/copyright)
  else()
    string(REGEX MATCH "^[0-9]+" gcc_major "${CMAKE_CXX_COMPILER_VERSION}")
    sqxa_licence(texts "${rule}\nOpenSSL: copyright" /usr/share/doc/libssl-dev/copyright
                 /usr/share/doc/libssl3t64/copyright /usr/share/doc/libssl3/copyright)
    sqxa_licence(texts "${rule}\nOpenSSL: Apache License, Version 2.0"
                 /usr/share/common-licenses/Apache-2.0)
    sqxa_licence(texts "${rule}\nGCC runtime: copyright and terms, with the GCC Runtime Library Exception"
                 /usr/share/doc/libstdc++-${gcc_major}-dev/copyright
                 /usr/share/doc/gcc-${gcc_major}-base/copyright /usr/share/doc/libstdc++6/copyright)
  endif()
  sqxa_licence(texts "${rule}\nGCC runtime: GNU General Public License, version 3" /usr/share/common-licenses/GPL-3)
  file(REMOVE ${out})
  if(NOT sqxa_licence_missing)
    file(WRITE ${out} "${notice}${texts}")
  endif()
endfunction()

# sqxa_debug_files(PROGRAM...): after each program is linked, its debug
# information is copied to <program file>.debug beside it; installing the
# program (stripped, when cpack packs it) adds a debug link to that file. The
# program in the build tree keeps its debug information and needs no link (a
# step on the link itself would have to sit where each program is defined).
# Builds without debug information (Release, the sanitizers) split nothing.
function(sqxa_debug_files)
  set(outputs "")
  foreach(program IN LISTS ARGN)
    set(file $<TARGET_FILE:${program}>)
    get_target_property(dir ${program} RUNTIME_OUTPUT_DIRECTORY)
    set(debug ${dir}/${program}${CMAKE_EXECUTABLE_SUFFIX}.debug)
    add_custom_command(OUTPUT ${debug}
                       COMMAND ${CMAKE_OBJCOPY} --only-keep-debug ${file} ${debug}
                       DEPENDS ${program}
                       COMMENT "Keeping the debug information of ${program}" VERBATIM)
    # Replacing the link, not adding a second, keeps a repeated install working.
    install(CODE "execute_process(COMMAND \"${CMAKE_OBJCOPY}\" --remove-section=.gnu_debuglink
        --add-gnu-debuglink=${debug}
        \"\$ENV{DESTDIR}\${CMAKE_INSTALL_PREFIX}/bin/$<TARGET_FILE_NAME:${program}>\"
        COMMAND_ERROR_IS_FATAL ANY)")
    list(APPEND outputs ${debug})
  endforeach()
  add_custom_target(sqxa_debug_files ALL DEPENDS ${outputs})

  # The debug archive unpacks over the program package: the same top
  # directory, each .debug beside its program.
  set(top ${SQXA_PACKAGE_FILE_NAME})
  set(stage ${CMAKE_BINARY_DIR}/debug-archive)
  if(WIN32)
    set(archive ${SQXA_PACKAGE_DIRECTORY}/${top}-debug.zip)
    set(tar cf ${archive} --format=zip)
  else()
    set(archive ${SQXA_PACKAGE_DIRECTORY}/${top}-debug.tar.gz)
    set(tar cfz ${archive} --format=gnutar)
  endif()
  add_custom_target(package_debug
    COMMAND ${CMAKE_COMMAND} -E rm -rf ${stage}
    COMMAND ${CMAKE_COMMAND} -E make_directory ${stage}/${top}/bin ${SQXA_PACKAGE_DIRECTORY}
    COMMAND ${CMAKE_COMMAND} -E copy ${outputs} ${stage}/${top}/bin
    COMMAND ${CMAKE_COMMAND} -E chdir ${stage} ${CMAKE_COMMAND} -E tar ${tar} ${top}
    COMMENT "Packing the debug information in ${archive}" VERBATIM)
  add_dependencies(package_debug sqxa_debug_files)
endfunction()

function(sqxa_release)
  set(programs sq_xa vinconfg regdump)
  # Packages, and the debug archive, go to one directory; `cpack -B` moves
  # the packages elsewhere.
  set(SQXA_PACKAGE_DIRECTORY ${CMAKE_BINARY_DIR}/packages)
  sqxa_notice(${CMAKE_BINARY_DIR}/NOTICE)
  install(TARGETS ${programs} RUNTIME DESTINATION bin)
  install(FILES ${PROJECT_SOURCE_DIR}/README.md ${PROJECT_SOURCE_DIR}/docs/user-guide.md
                ${CMAKE_BINARY_DIR}/NOTICE
          DESTINATION share/doc/sq_xa)

  set(CPACK_PACKAGE_NAME sq-xa)
  set(CPACK_PACKAGE_VERSION ${PROJECT_VERSION})
  set(CPACK_PACKAGE_DESCRIPTION_SUMMARY
      "Configures agent instances of a database monitoring agent")
  set(CPACK_PACKAGE_CONTACT "sq_xa developers <sq-xa@localhost>")
  set(CPACK_PACKAGE_DIRECTORY ${SQXA_PACKAGE_DIRECTORY})
  set(CPACK_STRIP_FILES TRUE)
  if(WIN32)
    set(CPACK_GENERATOR ZIP)
    set(CPACK_SYSTEM_NAME windows-x64)
  else()
    set(CPACK_GENERATOR "TGZ;DEB")
    set(CPACK_SYSTEM_NAME ${CMAKE_SYSTEM_NAME})
    set(CPACK_DEBIAN_PACKAGE_SHLIBDEPS OFF)
    set(CPACK_DEBIAN_PACKAGE_DEPENDS "libc6")
    set(CPACK_DEBIAN_FILE_NAME DEB-DEFAULT)
  endif()
  # cpack's own name for the archives, which the debug archive follows.
  set(SQXA_PACKAGE_FILE_NAME ${CPACK_PACKAGE_NAME}-${CPACK_PACKAGE_VERSION}-${CPACK_SYSTEM_NAME})

  string(TOUPPER "${CMAKE_BUILD_TYPE}" build_type)
  if(CMAKE_OBJCOPY AND build_type MATCHES "^(DEBUG|RELWITHDEBINFO)$" AND NOT SQXA_SANITIZE
     AND NOT SQXA_FUZZ)
    sqxa_debug_files(${programs})
  endif()
  include(CPack)
endfunction()
