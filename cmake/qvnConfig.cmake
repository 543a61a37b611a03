# find_package(qvn): the targets qvn::qvn, qvn::bench and, where it was built, qvn::supervisor.
# A host links one of the first two.
include(${CMAKE_CURRENT_LIST_DIR}/qvnTargets.cmake)
