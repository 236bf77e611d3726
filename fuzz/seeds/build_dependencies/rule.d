a.o: a.c b.h \
 c\ d.h \
	e.h
b.h:
