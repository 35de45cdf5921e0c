# What `cmake --install` puts where, in components: lib (the shared library), dev (headers,
# static library, package files), tool and python.
include(GNUInstallDirs)
include(CMakePackageConfigHelpers)

set(SHEAF_CMAKE_DIR ${CMAKE_INSTALL_LIBDIR}/cmake/sheaf)
set(SHEAF_PC_REQUIRES "zlib libjpeg libmd libutf8proc pugixml")
set(SHEAF_USES_FONTCONFIG OFF)
if(NOT SHEAF_LOAD_LIBRARIES_LATE)
  string(APPEND SHEAF_PC_REQUIRES " libcrypto")
endif()
if(SHEAF_WITH_JPX)
  string(APPEND SHEAF_PC_REQUIRES " libopenjp2")
endif()
if(SHEAF_USES_LIBDEFLATE)
  string(APPEND SHEAF_PC_REQUIRES " libdeflate")
endif()
if(SHEAF_WITH_FONTS)
  string(APPEND SHEAF_PC_REQUIRES " freetype2 harfbuzz-subset fribidi libunibreak")
  if(TARGET PkgConfig::FONTCONFIG)
    set(SHEAF_USES_FONTCONFIG ON)
    string(APPEND SHEAF_PC_REQUIRES " fontconfig")
  endif()
endif()

# Found from where the file is, so that an installed tree can be moved.
cmake_path(RELATIVE_PATH CMAKE_INSTALL_PREFIX BASE_DIRECTORY ${CMAKE_INSTALL_FULL_LIBDIR}/pkgconfig
           OUTPUT_VARIABLE SHEAF_PC_TO_PREFIX)
set(SHEAF_PC_LIBS "-lstdc++ -lm -pthread")
if(SHEAF_USES_ZOPFLI)
  string(PREPEND SHEAF_PC_LIBS "-lzopfli ")
endif()
if(SHEAF_LOAD_LIBRARIES_LATE)
  string(APPEND SHEAF_PC_LIBS " -ldl")
endif()

install(TARGETS sheaf EXPORT sheafTargets ARCHIVE DESTINATION ${CMAKE_INSTALL_LIBDIR} COMPONENT dev)
if(TARGET sheaf_shared)
  install(TARGETS sheaf_shared EXPORT sheafTargets
          LIBRARY DESTINATION ${CMAKE_INSTALL_LIBDIR} COMPONENT lib NAMELINK_COMPONENT dev)
endif()
if(TARGET sheaf_tool)
  install(TARGETS sheaf_tool RUNTIME DESTINATION ${CMAKE_INSTALL_BINDIR} COMPONENT tool)
  install(FILES ${PROJECT_BINARY_DIR}/sheaf.1 DESTINATION ${CMAKE_INSTALL_MANDIR}/man1 COMPONENT tool)
  install(FILES docs/completions/sheaf.bash RENAME sheaf
          DESTINATION ${CMAKE_INSTALL_DATADIR}/bash-completion/completions COMPONENT tool)
  install(FILES docs/completions/_sheaf DESTINATION ${CMAKE_INSTALL_DATADIR}/zsh/site-functions COMPONENT tool)
  install(FILES docs/completions/sheaf.fish
          DESTINATION ${CMAKE_INSTALL_DATADIR}/fish/vendor_completions.d COMPONENT tool)
endif()
foreach(header ${SHEAF_PUBLIC_HEADERS})
  cmake_path(GET header PARENT_PATH room)
  install(FILES src/sheaf/${header} DESTINATION ${CMAKE_INSTALL_INCLUDEDIR}/sheaf/${room} COMPONENT dev)
endforeach()
install(FILES ${PROJECT_BINARY_DIR}/generated/sheaf/version.h
        DESTINATION ${CMAKE_INSTALL_INCLUDEDIR}/sheaf COMPONENT dev)

# The licence with each package, and for developers the documentation and the examples, which find_package builds.
set(SHEAF_DOC_DIR ${CMAKE_INSTALL_DATADIR}/doc)
install(FILES cmake/copyright DESTINATION ${SHEAF_DOC_DIR}/libsheaf${SHEAF_SOVERSION} COMPONENT lib)
install(FILES cmake/copyright DESTINATION ${SHEAF_DOC_DIR}/libsheaf-dev COMPONENT dev)
install(FILES cmake/copyright README.md CHANGELOG.md docs/json.md DESTINATION ${SHEAF_DOC_DIR}/sheaf COMPONENT tool)
install(DIRECTORY docs/schemas DESTINATION ${SHEAF_DOC_DIR}/sheaf COMPONENT tool)
install(DIRECTORY docs/ DESTINATION ${SHEAF_DOC_DIR}/libsheaf-dev COMPONENT dev
        PATTERN completions EXCLUDE PATTERN schemas EXCLUDE PATTERN sheaf.1 EXCLUDE)
install(DIRECTORY examples DESTINATION ${SHEAF_DOC_DIR}/libsheaf-dev COMPONENT dev
        FILES_MATCHING PATTERN "*.cpp" PATTERN "*.c" PATTERN "*.h" PATTERN "*.py" PATTERN "*.java" PATTERN "sample.*")

# The Python package, where Debian's interpreter looks for packages.
if(TARGET sheaf_python)
  set(SHEAF_PYTHON_DIR lib/python3/dist-packages/sheaf CACHE STRING "Where the Python package goes, below the prefix")
  install(TARGETS sheaf_python LIBRARY DESTINATION ${SHEAF_PYTHON_DIR} COMPONENT python)
  install(DIRECTORY bindings/python/sheaf/ DESTINATION ${SHEAF_PYTHON_DIR} COMPONENT python PATTERN __pycache__ EXCLUDE)
  install(FILES cmake/copyright DESTINATION ${SHEAF_DOC_DIR}/python3-sheaf COMPONENT python)
endif()

install(EXPORT sheafTargets NAMESPACE sheaf:: DESTINATION ${SHEAF_CMAKE_DIR} COMPONENT dev)
configure_package_config_file(cmake/sheafConfig.cmake.in sheafConfig.cmake INSTALL_DESTINATION ${SHEAF_CMAKE_DIR})
write_basic_package_version_file(sheafConfigVersion.cmake COMPATIBILITY SameMinorVersion)
configure_file(cmake/sheaf.pc.in sheaf.pc @ONLY)
install(FILES ${PROJECT_BINARY_DIR}/sheafConfig.cmake ${PROJECT_BINARY_DIR}/sheafConfigVersion.cmake
        DESTINATION ${SHEAF_CMAKE_DIR} COMPONENT dev)
install(FILES ${PROJECT_BINARY_DIR}/sheaf.pc DESTINATION ${CMAKE_INSTALL_LIBDIR}/pkgconfig COMPONENT dev)
