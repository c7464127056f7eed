# Compiles GLSL sources to SPIR-V with glslc. Each source becomes <stem>.spv in the
# given bundle folder; the stem is the entry name the GPU layer looks up, so a kernel
# file is named after its kernel ("colorKernel.comp" gives "colorKernel").
find_program(GLSLC glslc REQUIRED)

function(halvane_add_shaders target bundle_dir)
  set(outputs)
  foreach(source ${ARGN})
    get_filename_component(abs ${source} ABSOLUTE)
    get_filename_component(stem ${source} NAME_WE)
    set(out ${bundle_dir}/${stem}.spv)
    add_custom_command(
      OUTPUT ${out}
      COMMAND ${CMAKE_COMMAND} -E make_directory ${bundle_dir}
      COMMAND ${GLSLC} --target-env=vulkan1.2 -O -I ${CMAKE_CURRENT_SOURCE_DIR} -MD -MF ${out}.d -o ${out} ${abs}
      DEPENDS ${abs}
      DEPFILE ${out}.d
      COMMENT "glslc ${stem}"
      VERBATIM)
    list(APPEND outputs ${out})
  endforeach()
  add_custom_target(${target} ALL DEPENDS ${outputs})
endfunction()
