# The port stands in the tree that it builds. Scripts/release.py makes a port for a registry, which downloads the archive.
get_filename_component(SOURCE_PATH "${CURRENT_PORT_DIR}/../../.." ABSOLUTE)
