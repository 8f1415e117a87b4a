# What a release holds and how it is packed: the three programs, the README and
# the user guide; a ZIP for Windows, a .tar.gz and a .deb for Linux. The
# version is the project's; each Windows program carries it in its version
# resource. Packed programs are stripped; the build tree keeps the debug
# information.

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

function(sqxa_release)
  install(TARGETS sq_xa vinconfg regdump RUNTIME DESTINATION bin)
  install(FILES ${PROJECT_SOURCE_DIR}/README.md ${PROJECT_SOURCE_DIR}/docs/user-guide.md
          DESTINATION share/doc/sq_xa)

  set(CPACK_PACKAGE_NAME sq-xa)
  set(CPACK_PACKAGE_VERSION ${PROJECT_VERSION})
  set(CPACK_PACKAGE_DESCRIPTION_SUMMARY
      "Configures agent instances of a database monitoring agent")
  set(CPACK_PACKAGE_CONTACT "sq_xa developers <sq-xa@localhost>")
  set(CPACK_STRIP_FILES TRUE)
  if(WIN32)
    set(CPACK_GENERATOR ZIP)
    set(CPACK_SYSTEM_NAME windows-x64)
  else()
    set(CPACK_GENERATOR "TGZ;DEB")
    set(CPACK_DEBIAN_PACKAGE_SHLIBDEPS OFF)
    set(CPACK_DEBIAN_PACKAGE_DEPENDS "libc6")
    set(CPACK_DEBIAN_FILE_NAME DEB-DEFAULT)
  endif()
  include(CPack)
endfunction()
