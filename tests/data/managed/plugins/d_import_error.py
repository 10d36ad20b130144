import kivara_no_such_module  # noqa
