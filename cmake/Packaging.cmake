# SPDX-License-Identifier: MIT
# Desktop integration files, their install locations and the Debian package.
# The executable's own install rule sits beside its target in src/.

set(ZARN_APP_ID org.example.Zarn)
set(ZARN_ICON_SIZES 16 22 24 32 48 64 128 256)

install(FILES ${PROJECT_SOURCE_DIR}/packaging/${ZARN_APP_ID}.desktop
        DESTINATION ${CMAKE_INSTALL_DATADIR}/applications)
install(FILES ${PROJECT_SOURCE_DIR}/packaging/${ZARN_APP_ID}.metainfo.xml
        DESTINATION ${CMAKE_INSTALL_DATADIR}/metainfo)
install(FILES ${PROJECT_SOURCE_DIR}/LICENSE
        DESTINATION ${CMAKE_INSTALL_DATADIR}/doc/zarn RENAME copyright)

# Debian wants the changelog and the manual page compressed with gzip -9n: the
# highest compression, and no file name or time stamp inside, so that the
# package's content does not depend on when it was built. The executable
# depends on them so that building just zarn still leaves everything to install.
file(STRINGS ${PROJECT_SOURCE_DIR}/packaging/changelog ZARN_CHANGELOG_TOP LIMIT_COUNT 1)
if(NOT ZARN_CHANGELOG_TOP MATCHES "^zarn \\(${PROJECT_VERSION}\\) ")
    message(FATAL_ERROR "packaging/changelog has no entry for version ${PROJECT_VERSION} on top")
endif()
set(ZARN_DOCS_DIR ${PROJECT_BINARY_DIR}/packaging)
configure_file(${PROJECT_SOURCE_DIR}/packaging/zarn.1 ${ZARN_DOCS_DIR}/source/zarn.1 @ONLY)
configure_file(${PROJECT_SOURCE_DIR}/packaging/changelog ${ZARN_DOCS_DIR}/source/changelog COPYONLY)
foreach(doc changelog zarn.1)
    add_custom_command(OUTPUT ${ZARN_DOCS_DIR}/${doc}.gz
        COMMAND ${CMAKE_COMMAND} -E copy ${ZARN_DOCS_DIR}/source/${doc} ${ZARN_DOCS_DIR}/${doc}
        COMMAND gzip -9nf ${ZARN_DOCS_DIR}/${doc}
        DEPENDS ${ZARN_DOCS_DIR}/source/${doc}
        VERBATIM)
endforeach()
add_custom_target(zarn_docs ALL DEPENDS ${ZARN_DOCS_DIR}/changelog.gz ${ZARN_DOCS_DIR}/zarn.1.gz)
add_dependencies(zarn zarn_docs)
install(FILES ${ZARN_DOCS_DIR}/changelog.gz DESTINATION ${CMAKE_INSTALL_DATADIR}/doc/zarn)
install(FILES ${ZARN_DOCS_DIR}/zarn.1.gz DESTINATION ${CMAKE_INSTALL_MANDIR}/man1)
# Resolve every symbol at start-up so the relocation tables can be read-only
# (full RELRO), as Debian's hardening asks.
target_link_options(zarn PRIVATE LINKER:-z,relro,-z,now)

# Icons are looked up at install time rather than at configure time, so a
# build tree configured before the artwork arrived still installs it; the
# packaging check reports any size that is missing.
set(ZARN_ICON_DIR ${PROJECT_SOURCE_DIR}/data/icons/hicolor)
foreach(size ${ZARN_ICON_SIZES})
    install(FILES ${ZARN_ICON_DIR}/${size}x${size}/apps/zarn.png
            DESTINATION ${CMAKE_INSTALL_DATADIR}/icons/hicolor/${size}x${size}/apps OPTIONAL)
endforeach()
install(FILES ${ZARN_ICON_DIR}/scalable/apps/zarn.svg
        DESTINATION ${CMAKE_INSTALL_DATADIR}/icons/hicolor/scalable/apps OPTIONAL)

set(CPACK_GENERATOR DEB)
set(CPACK_PACKAGE_NAME zarn)
set(CPACK_PACKAGE_VENDOR "The Zarn developers")
set(CPACK_PACKAGE_CONTACT "The Zarn developers <zarn@example.org>")
set(CPACK_PACKAGE_DESCRIPTION_SUMMARY "small raster paint program with mushroom stamps")
set(CPACK_PACKAGE_DESCRIPTION
    "Zarn paints one picture at a time: a brush that stamps a mushroom silhouette,
a text stamp, an eyedropper, rectangle, lasso and magic-wand selections and
five filters that work through the selection, with undo and redo. It opens
every image format that Qt reads and saves in the format of the file suffix.")
set(CPACK_PACKAGE_HOMEPAGE_URL "https://zarn.example.org/")
set(CPACK_RESOURCE_FILE_LICENSE ${PROJECT_SOURCE_DIR}/LICENSE)
set(CPACK_PACKAGING_INSTALL_PREFIX /usr)
set(CPACK_STRIP_FILES ON)

set(CPACK_DEBIAN_FILE_NAME DEB-DEFAULT)
set(CPACK_DEBIAN_PACKAGE_MAINTAINER "The Zarn developers <zarn@example.org>")
set(CPACK_DEBIAN_PACKAGE_SECTION graphics)
set(CPACK_DEBIAN_PACKAGE_PRIORITY optional)
set(CPACK_DEBIAN_PACKAGE_SHLIBDEPS ON)
# Qt finds its plug-ins by itself in the system's plug-in directory; the
# package only has to make sure they are there. Debian 12 ships the xcb
# platform plug-in and the PNG, JPEG, GIF and ICO readers inside libqt6gui6,
# which shlibdeps already requires, TIFF, WebP, TGA and friends in
# qt6-image-formats-plugins, and the SVG reader in libqt6svg6.
set(CPACK_DEBIAN_PACKAGE_DEPENDS "qt6-image-formats-plugins, libqt6svg6")

include(CPack)
