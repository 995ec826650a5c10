# Only the plain reference is compiled here; it stays plain.
target_compile_options(bench_frame_processing PRIVATE -fno-tree-vectorize)
