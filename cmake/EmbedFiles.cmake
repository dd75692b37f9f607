# gnx_embed_files(target function dir=prefix ...): puts every file of the folders into the target, so that it has
# them wherever it is installed. The name of a file there is the prefix of its folder and its own name.
# Generates one C++ source that takes the files in through .incbin, with the look-up
#   const std::map<std::string, std::string_view>& gnx::FUNCTION();
function(gnx_embed_files target function)
  set(asm "")
  set(decls "")
  set(rows "")
  set(all "")
  set(n 0)
  foreach(folder ${ARGN})
    string(REGEX MATCH "^([^=]+)=(.*)$" found ${folder})
    set(dir ${CMAKE_MATCH_1})
    set(prefix "${CMAKE_MATCH_2}")
    file(GLOB files CONFIGURE_DEPENDS ${CMAKE_SOURCE_DIR}/${dir}/*)
    list(APPEND all ${files})
    foreach(file ${files})
      get_filename_component(name ${file} NAME)
      string(APPEND asm
        "asm(\".section .rodata\\n.global ${function}_${n}\\n.global ${function}_${n}_end\\n\"\n"
        "    \"${function}_${n}:\\n.incbin \\\"${file}\\\"\\n${function}_${n}_end:\\n.byte 0\\n.previous\\n\");\n")
      string(APPEND decls "extern \"C\" const char ${function}_${n}[], ${function}_${n}_end[];\n")
      string(APPEND rows
        "      {\"${prefix}${name}\", {${function}_${n}, static_cast<std::size_t>(${function}_${n}_end - ${function}_${n})}},\n")
      math(EXPR n "${n}+1")
    endforeach()
  endforeach()
  set(out ${CMAKE_BINARY_DIR}/${function}.cpp)
  file(WRITE ${out}.new
    "#include <cstddef>\n#include <map>\n#include <string>\n#include <string_view>\n${asm}${decls}\nnamespace gnx {\n"
    "const std::map<std::string, std::string_view>& ${function}();\n"
    "const std::map<std::string, std::string_view>& ${function}() {\n"
    "  static const std::map<std::string, std::string_view> files = {\n${rows}  };\n  return files;\n}\n"
    "}  // namespace gnx\n")
  file(COPY_FILE ${out}.new ${out} ONLY_IF_DIFFERENT)
  set_source_files_properties(${out} PROPERTIES OBJECT_DEPENDS "${all}"
    COMPILE_OPTIONS "-fno-lto" )
  set_property(SOURCE ${out} PROPERTY RULE_LAUNCH_COMPILE "")
  target_sources(${target} PRIVATE ${out})
endfunction()
