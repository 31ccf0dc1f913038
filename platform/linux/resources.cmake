# Run as a script: writes OUTPUT, a C++ file that holds the files under FOLDER as text, as
# machine/root/system_files.hpp declares them.

file(GLOB_RECURSE files RELATIVE ${FOLDER} ${FOLDER}/*)
set(code "#include \"machine/root/system_files.hpp\"\n\nnamespace veltro::host {\nnamespace {\n\n")
string(APPEND code "constexpr SystemFile files[]{\n")
foreach(file IN LISTS files)
  file(READ ${FOLDER}/${file} text)
  string(APPEND code "{\"/${file}\", R\"file(${text})file\"},\n")
endforeach()
string(APPEND code "};\n\n} // namespace\n\nstd::span<const SystemFile> system_files() {\n")
string(APPEND code "  return files;\n}\n\n} // namespace veltro::host\n")
file(WRITE ${OUTPUT} "${code}")
