# Run by CPack between staging and packing: adds what Debian wants of every package (its Policy, chapters 10 and 12), and
# leaves out what only debuggers read.
function(compress file)
  execute_process(COMMAND gzip -9nf "${file}" COMMAND_ERROR_IS_FATAL ANY)
endfunction()

function(add_documents root package)
  set(folder "${root}/share/doc/${package}")
  file(READ "${CPACK_QUILLON_SOURCE_FOLDER}/LICENSE" license)
  file(WRITE "${folder}/copyright" "${license}")
  file(COPY_FILE "${CPACK_QUILLON_SOURCE_FOLDER}/CHANGELOG.md" "${folder}/changelog")
  set(version "${CPACK_PACKAGE_VERSION}-${CPACK_DEBIAN_PACKAGE_RELEASE}")
  string(TIMESTAMP now "%a, %d %b %Y %H:%M:%S +0000" UTC)
  file(WRITE "${folder}/changelog.Debian" "quillon (${version}) unstable; urgency=medium

  * Built from the sources of version ${CPACK_PACKAGE_VERSION}; its changes are in changelog.gz.

 -- ${CPACK_PACKAGE_CONTACT}  ${now}
")
  compress("${folder}/changelog")
  compress("${folder}/changelog.Debian")
endfunction()

set(commands "${CPACK_TEMPORARY_INSTALL_DIRECTORY}/commands")
set(development "${CPACK_TEMPORARY_INSTALL_DIRECTORY}/development")
add_documents("${commands}${CPACK_PACKAGING_INSTALL_PREFIX}" quillon)
add_documents("${development}${CPACK_PACKAGING_INSTALL_PREFIX}" libquillon-dev)
file(REMOVE_RECURSE "${development}${CPACK_PACKAGING_INSTALL_PREFIX}/share/doc/Quillon")  # the licence, which is there

# Where administrators put the certificates that vouch for teams.
file(MAKE_DIRECTORY "${commands}/etc/quillon/anchors.d")

file(GLOB pages "${commands}${CPACK_PACKAGING_INSTALL_PREFIX}/share/man/man1/*.1")
foreach(page ${pages})
  compress("${page}")
endforeach()

file(GLOB_RECURSE libraries "${development}/*.a")
execute_process(COMMAND strip --strip-debug --enable-deterministic-archives ${libraries} COMMAND_ERROR_IS_FATAL ANY)
