#include "pxl/gl_shader.h"

namespace pxl {

const char* const batchVertexSource = "#version 330\n"
                                      "uniform mat4 u_matrix;\n"
                                      "layout(location=0) in vec2 a_position;\n"
                                      "layout(location=1) in vec2 a_tex;\n"
                                      "layout(location=2) in vec4 a_color;\n"
                                      "layout(location=3) in vec2 a_mask;\n"
                                      "out vec2 v_tex;\n"
                                      "out vec4 v_col;\n"
                                      "out vec2 v_mask;\n"
                                      "void main(void)\n"
                                      "{\n"
                                      "\tgl_Position = u_matrix * vec4(a_position.xy, 0, 1);\n"
                                      "\tv_tex = a_tex;\n"
                                      "\tv_col = a_color;\n"
                                      "\tv_mask = a_mask;\n"
                                      "}";

const char* const batchFragmentSource = "#version 330\n"
                                        "uniform sampler2D u_texture;\n"
                                        "in vec2 v_tex;\n"
                                        "in vec4 v_col;\n"
                                        "in vec2 v_mask;\n"
                                        "out vec4 o_color;\n"
                                        "void main(void)\n"
                                        "{\n"
                                        "\tvec4 color = texture(u_texture, v_tex);\n"
                                        "\to_color = v_mask.x * (color * v_col) + v_mask.y * v_col;\n"
                                        "}";

} // namespace pxl
