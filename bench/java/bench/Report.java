package bench;

import java.util.ArrayList;
import java.util.Collections;
import java.util.LinkedHashMap;
import java.util.List;
import java.util.Locale;
import java.util.Map;

/** The table on the terminal, and the same figures as JSON. */
final class Report {
    private final Map<String, Map<String, Map<String, Double>>> sections = new LinkedHashMap<>();
    private final List<String> targets = new ArrayList<>();
    private String section;

    void begin(String title, String... columns) {
        section = title;
        sections.put(title, new LinkedHashMap<>());
        System.out.printf("%n%-58s", title);
        for (String column : columns) {
            System.out.printf("%14s", column);
        }
        System.out.println();
    }

    /** One line: pairs of column name and figure. */
    void row(String name, Object... figures) {
        Map<String, Double> row = new LinkedHashMap<>();
        System.out.printf("  %-56s", name);
        for (int i = 0; i < figures.length; i += 2) {
            double figure = ((Number) figures[i + 1]).doubleValue();
            row.put((String) figures[i], figure);
            System.out.printf(Locale.ROOT, figure >= 1000 ? "%14.0f" : figure >= 100 ? "%14.1f" : "%14.3f", figure);
        }
        System.out.println();
        sections.get(section).put(name, row);
    }

    void rows(List<Rounds.Result> results) {
        for (Rounds.Result result : results) {
            row(result.name, "micros", result.micros, "ratio", result.ratio);
        }
    }

    double figure(String title, String row, String column) {
        return row(title, row).get(column);
    }

    /** The figures of a line by column; null when there is no such line. */
    Map<String, Double> row(String title, String row) {
        return sections.getOrDefault(title, Collections.emptyMap()).get(row);
    }

    void target(String text, double figure, double limit) {
        targets.add(String.format(
            Locale.ROOT, "%-50s %8.3f  (at most %.3f)  %s", text, figure, limit, figure <= limit ? "met" : "MISSED"));
    }

    void printTargets() {
        System.out.println("\nTargets");
        targets.forEach(target -> System.out.println("  " + target));
    }

    String json() {
        StringBuilder json = new StringBuilder("{");
        String separator = "\n";
        for (Map.Entry<String, Map<String, Map<String, Double>>> title : sections.entrySet()) {
            json.append(separator).append("  \"").append(title.getKey()).append("\": {");
            separator = "\n";
            for (Map.Entry<String, Map<String, Double>> row : title.getValue().entrySet()) {
                json.append(separator).append("    \"").append(row.getKey()).append("\": {");
                separator = "";
                for (Map.Entry<String, Double> figure : row.getValue().entrySet()) {
                    json.append(separator).append(
                        String.format(Locale.ROOT, "\"%s\": %.4f", figure.getKey(), figure.getValue()));
                    separator = ", ";
                }
                json.append("}");
                separator = ",\n";
            }
            json.append("\n  }");
            separator = ",\n";
        }
        return json.append("\n}\n").toString();
    }
}
