/** Turns the first page of a document and reads the result back. */
public final class Pages {
    public static void main(String[] arguments) {
        byte[] saved;
        try (Sheaf document = new Sheaf(arguments[0])) {
            System.out.println(document.pageCount() + " pages");
            document.rotate(0, 90);
            saved = document.save();
        }
        try (Sheaf again = Sheaf.of(saved)) {
            System.out.println("page 1 is turned by " + again.rotation(0));
        }
        try {
            new Sheaf("no such file.pdf").close();
        } catch (Sheaf.Failure failure) {
            System.out.println(failure.code == 1 ? "no file" : failure.getMessage());
        }
    }
}
