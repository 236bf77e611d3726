# comment TODO later
def f(x, y=1.5e-3):
    """doc string
    still doc \" here
    """
    s = 'single' + "double\n"
    t = '''one
two''' + r"raw"
    print(len(s), None, True)
    d = {'a': 1}
    return f (x)
u = "cont\
inued"
