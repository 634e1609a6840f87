# Writes a C++ source that defines a text file as a string constant.
# usage: cmake -DNAME=IDENTIFIER -DIN=FILE -DOUT=FILE -P embed_text.cmake
file(READ "${IN}" text)
file(WRITE "${OUT}" "// Made from the file of this name by the build.\nextern const char* const ${NAME};\n"
                    "const char* const ${NAME} = R\"embedded(${text})embedded\";\n")
