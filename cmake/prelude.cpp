// Something to compile for the precompiled headers to belong to.
