# cmake -D FOLDER=... -D FILES=a;b/c -D OUTPUT=x.cpp -P embed_files.cmake: writes the files of the folder as the source
# of kestrane::web::PageFiles().
set(rows "")
foreach(file IN LISTS FILES)
  file(READ ${FOLDER}/${file} content HEX)
  file(SHA256 ${FOLDER}/${file} sum)
  string(LENGTH "${content}" digits)
  math(EXPR size "${digits} / 2")
  string(SUBSTRING ${sum} 0 16 tag)
  string(REGEX REPLACE "(..)" "\\\\x\\1" content "${content}")
  string(APPEND rows "    PageFile{\"${file}\", {\"${content}\", ${size}}, \"\\\"${tag}\\\"\"},\n")
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
