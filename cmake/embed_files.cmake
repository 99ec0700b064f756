# cmake -D FILES=/x/a;/y/b -D NAMES=a;help/b -D OUTPUT=x.cpp -P embed_files.cmake: writes the files, under these names, as
# the source of kestrane::web::PageFiles().
set(rows "")
foreach(file name IN ZIP_LISTS FILES NAMES)
  file(READ ${file} content HEX)
  file(SHA256 ${file} sum)
  string(LENGTH "${content}" digits)
  math(EXPR size "${digits} / 2")
  string(SUBSTRING ${sum} 0 16 tag)
  string(REGEX REPLACE "(..)" "\\\\x\\1" content "${content}")
  string(APPEND rows "    PageFile{\"${name}\", {\"${content}\", ${size}}, \"\\\"${tag}\\\"\"},\n")
endforeach()
file(WRITE ${OUTPUT} "#include \"views/web/page_files.h\"

namespace kestrane::web {

std::span<const PageFile> PageFiles() {
    static constexpr PageFile kFiles[] = {
${rows}    };
    return kFiles;
}

}  // namespace kestrane::web
")
