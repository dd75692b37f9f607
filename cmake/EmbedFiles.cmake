# gnx_embed_files(target dir): puts every file of a folder into the target, so that the program
# finds its deployment data wherever it is installed. Generates one assembler-free C++ source
# through .incbin; host/platform/embedded_files.h declares the look-up.
function(gnx_embed_files target dir)
  file(GLOB files CONFIGURE_DEPENDS ${CMAKE_SOURCE_DIR}/${dir}/*)
  set(asm "")
  set(decls "")
  set(rows "")
  set(n 0)
  foreach(file ${files})
    get_filename_component(name ${file} NAME)
    string(APPEND asm
      "asm(\".section .rodata\\n.global gnx_file_${n}\\n.global gnx_file_${n}_end\\n\"\n"
      "    \"gnx_file_${n}:\\n.incbin \\\"${file}\\\"\\ngnx_file_${n}_end:\\n.byte 0\\n.previous\\n\");\n")
    string(APPEND decls "extern \"C\" const char gnx_file_${n}[], gnx_file_${n}_end[];\n")
    string(APPEND rows "      {\"${name}\", {gnx_file_${n}, static_cast<std::size_t>(gnx_file_${n}_end - gnx_file_${n})}},\n")
    math(EXPR n "${n}+1")
  endforeach()
  set(out ${CMAKE_BINARY_DIR}/embedded_files.cpp)
  file(WRITE ${out}.new
    "#include \"platform/embedded_files.h\"\n${asm}${decls}\nnamespace gnx {\n"
    "const std::map<std::string, std::string_view>& embeddedFiles() {\n"
    "  static const std::map<std::string, std::string_view> files = {\n${rows}  };\n  return files;\n}\n"
    "}  // namespace gnx\n")
  file(COPY_FILE ${out}.new ${out} ONLY_IF_DIFFERENT)
  set_source_files_properties(${out} PROPERTIES OBJECT_DEPENDS "${files}"
    COMPILE_OPTIONS "-fno-lto" )
  set_property(SOURCE ${out} PROPERTY RULE_LAUNCH_COMPILE "")
  target_sources(${target} PRIVATE ${out})
endfunction()
