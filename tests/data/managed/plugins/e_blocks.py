while True:
    pass
