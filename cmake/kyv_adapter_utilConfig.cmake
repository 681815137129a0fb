include("${CMAKE_CURRENT_LIST_DIR}/kyv_adapter_util_targets.cmake")
