# Run by CPack over what it is about to pack: under /usr the loader and the compilers look by themselves, and a
# package names no search paths of its own.
set(usr ${CPACK_TEMPORARY_DIRECTORY}/*/usr)
file(GLOB programs ${usr}/bin/* ${usr}/lib/*.so.*.* ${usr}/libexec/veltro/WhatsApp.app/WhatsApp)
foreach(program IN LISTS programs)
  file(RPATH_REMOVE FILE ${program})
endforeach()

file(GLOB pc ${usr}/lib/pkgconfig/veltro.pc)
file(READ ${pc} text)
string(REPLACE "prefix=\${pcfiledir}/../.." "prefix=/usr" text "${text}")
string(REPLACE " -Wl,-rpath,\${libdir}" "" text "${text}")
file(WRITE ${pc} "${text}")

# Debian's zsh looks for what packages bring in a folder of its own.
file(GLOB zsh ${usr}/share/zsh)
file(RENAME ${zsh}/site-functions ${zsh}/vendor-completions)
