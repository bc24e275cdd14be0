# The converter tests and the time-zone oracle run pellium-tzconvert, which tools/tzconvert builds.
add_dependencies(${name} pellium-tzconvert)
