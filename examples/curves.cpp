// Drawing with float curves: three cubic Bezier curves flattened at two
// tolerances, their tight and control-point bounds, an ellipse, an arc built from
// cubics, and the points where the curves cross each other and a straight line,
// all written to an SVG file named on the command line.
//
//   curves out.svg
#include <geometry/cubicbezier2f.h>
#include <geometry/ellipse2f.h>
#include <geometry/intersection2f.h>
#include <geometry/rect2f.h>

#include <cstdio>
#include <string>
#include <vector>

using namespace velmor::geometry;

namespace {

// Model space is 0..100 by 0..80 with y up; the SVG has y down, so every model
// point goes through ToScreen, and shapes are drawn inside a group that flips y.
constexpr double kScale = 8.0;
constexpr double kMargin = 20.0;
constexpr double kModelHeight = 80.0;
constexpr double kLegendWidth = 420.0;
constexpr double kWidth = 100.0 * kScale + 2 * kMargin + kLegendWidth;
constexpr double kHeight = kModelHeight * kScale + 2 * kMargin;

struct Named {
    const char* name;
    const char* color;
    CCubicBezier2f curve;
};

struct Hit {
    std::string what;
    IntersectionPoint2f ip;
};

class Svg {
public:
    explicit Svg(std::FILE* f) : f_(f) {
        std::fprintf(f_,
                     "<svg xmlns=\"http://www.w3.org/2000/svg\" width=\"%.0f\" height=\"%.0f\" "
                     "font-family=\"sans-serif\" font-size=\"13\">\n",
                     kWidth, kHeight);
        std::fprintf(f_, "<rect width=\"100%%\" height=\"100%%\" fill=\"white\"/>\n");
        // Model units to pixels, y flipped so that it points up.
        std::fprintf(f_,
                     "<g transform=\"translate(%.1f %.1f) scale(%.1f %.1f)\" fill=\"none\" "
                     "stroke-linejoin=\"round\">\n",
                     kMargin, kMargin + kModelHeight * kScale, kScale, -kScale);
    }

    void Polyline(const std::vector<CPoint2f>& pts, const char* color, double width, const char* dash = nullptr) {
        std::fprintf(f_, "<polyline stroke=\"%s\" stroke-width=\"%.3f\"%s%s%s points=\"", color, width / kScale,
                     dash ? " stroke-dasharray=\"" : "", dash ? dash : "", dash ? "\"" : "");
        for (const CPoint2f& p : pts) std::fprintf(f_, "%.3f,%.3f ", p.x, p.y);
        std::fprintf(f_, "\"/>\n");
    }

    void Rect(const CRect2f& r, const char* color, const char* dash) {
        std::fprintf(f_,
                     "<rect x=\"%.3f\" y=\"%.3f\" width=\"%.3f\" height=\"%.3f\" stroke=\"%s\" "
                     "stroke-width=\"%.3f\" stroke-dasharray=\"%s\"/>\n",
                     r.x, r.y, r.width, r.height, color, 1.0 / kScale, dash);
    }

    void Dot(const CPoint2f& p, double radiusPx, const char* fill) {
        std::fprintf(f_, "<circle cx=\"%.3f\" cy=\"%.3f\" r=\"%.3f\" fill=\"%s\" stroke=\"none\"/>\n", p.x, p.y,
                     radiusPx / kScale, fill);
    }

    void Ring(const CPoint2f& p, double radiusPx, const char* color) {
        std::fprintf(f_, "<circle cx=\"%.3f\" cy=\"%.3f\" r=\"%.3f\" stroke=\"%s\" stroke-width=\"%.3f\"/>\n", p.x, p.y,
                     radiusPx / kScale, color, 2.0 / kScale);
    }

    // Text is placed in screen space, outside the flipped group, so it reads upright.
    void EndShapes() { std::fprintf(f_, "</g>\n"); }

    void Label(const CPoint2f& model, double dx, double dy, const std::string& text, const char* color = "black") {
        const double x = kMargin + model.x * kScale + dx;
        const double y = kMargin + (kModelHeight - model.y) * kScale + dy;
        Text(x, y, text, color);
    }

    void Text(double x, double y, const std::string& text, const char* color = "black") {
        std::fprintf(f_, "<text x=\"%.1f\" y=\"%.1f\" fill=\"%s\">%s</text>\n", x, y, color, text.c_str());
    }

    ~Svg() { std::fprintf(f_, "</svg>\n"); }

private:
    std::FILE* f_;
};

std::string Format(const char* fmt, double a, double b, double c, double d) {
    char buf[160];
    std::snprintf(buf, sizeof buf, fmt, a, b, c, d);
    return buf;
}

}  // namespace

int main(int argc, char** argv) {
    if (argc != 2) {
        std::fprintf(stderr, "usage: %s OUTPUT.svg\n", argc > 0 ? argv[0] : "curves");
        return 2;
    }
    std::FILE* f = std::fopen(argv[1], "w");
    if (!f) {
        std::perror(argv[1]);
        return 1;
    }

    const Named curves[] = {
        {"S", "#1f77b4", CCubicBezier2f(CPoint2f(5, 14), CPoint2f(45, 76), CPoint2f(38, 1), CPoint2f(82, 50))},
        {"valley", "#d62728", CCubicBezier2f(CPoint2f(8, 60), CPoint2f(30, 2), CPoint2f(70, 2), CPoint2f(95, 60))},
        {"loop", "#2ca02c", CCubicBezier2f(CPoint2f(22, 30), CPoint2f(99, 74), CPoint2f(1, 74), CPoint2f(78, 30))},
    };
    const CPoint2f lineA(0, 26), lineB(100, 40);
    const float coarse = 2.0f, fine = 0.05f;

    std::vector<Hit> hits;
    for (int i = 0; i < 3; ++i) {
        for (int j = i + 1; j < 3; ++j) {
            CurveIntersections2f out;
            curves[i].curve.IntersectWithBezier(curves[j].curve, Rangef(0, 1), Rangef(0, 1), out);
            out.SortByParameter1();
            for (const IntersectionPoint2f& ip : out.points) {
                hits.push_back({std::string(curves[i].name) + " x " + curves[j].name, ip});
            }
        }
        CurveIntersections2f out;
        curves[i].curve.IntersectWithLine(lineA, lineB, Rangef(0, 1), Rangef(0, 1), out);
        for (const IntersectionPoint2f& ip : out.points) hits.push_back({std::string(curves[i].name) + " x line", ip});
    }

    {
        Svg svg(f);
        // An ellipse inscribed in a turned rectangle, and a quarter-circle arc
        // built from cubics running clockwise from 90 to 0 degrees (the arc's
        // angles are negated) about its centre.
        const CEllipse2f ellipse(CRect2f(70, 2, 26, 9), 0.12f);
        std::vector<CPoint2f> outline(97);
        ellipse.GetPoints(static_cast<unsigned int>(outline.size()), outline.data());
        svg.Polyline(outline, "#9467bd", 1.5);
        std::vector<CPoint2f> arc;
        CCubicBezier2f::ApproximateArc(CPoint2f(6, 66), 10.0f, -1.5707964f, 0.0f, arc);
        std::vector<CPoint2f> arcLine(1, arc[0]);
        for (std::size_t k = 0; k + 3 < arc.size(); k += 3)
            CCubicBezier2f(&arc[k]).ApproximateWithPolyline(arcLine, fine);
        svg.Polyline(arcLine, "#8c564b", 2.0);

        svg.Polyline({lineA, lineB}, "#555555", 1.2);
        for (const Named& c : curves) {
            svg.Rect(c.curve.ControlPointBounds(), "#bbbbbb", "2 3");
            svg.Rect(c.curve.Bounds(), c.color, "6 3");
            svg.Polyline({c.curve.p0, c.curve.p1, c.curve.p2, c.curve.p3}, "#cccccc", 0.8);
            std::vector<CPoint2f> line(1, c.curve.p0);
            c.curve.ApproximateWithPolyline(line, fine);
            svg.Polyline(line, c.color, 2.0);
            std::vector<CPoint2f> rough(1, c.curve.p0);
            c.curve.ApproximateWithPolyline(rough, coarse);
            svg.Polyline(rough, "black", 0.8, "3 2");
            for (const CPoint2f& p : rough) svg.Dot(p, 2.0, "black");
            for (const CPoint2f& p : {c.curve.p1, c.curve.p2}) svg.Dot(p, 2.5, "#aaaaaa");
        }
        for (const Hit& h : hits) svg.Ring(h.ip.point, 5.0, "#ff7f0e");
        svg.EndShapes();

        for (const Named& c : curves) svg.Label(c.curve.p0, -4, 16, c.name, c.color);
        svg.Label(lineB, -30, -8, "line", "#555555");
        svg.Label(CPoint2f(72, 2), 0, 18, "ellipse", "#9467bd");
        svg.Label(CPoint2f(13, 74), 4, 0, "arc", "#8c564b");
        const double legendX = kMargin * 2 + 100.0 * kScale;
        double y = kMargin + 14;
        svg.Text(legendX, y, "Flattened within 0.05 (solid) and 2.0 (dashed, dots);");
        svg.Text(legendX, y += 18, "bounds dashed in the curve's colour, control bounds grey.");
        svg.Text(legendX, y += 30, "Intersections (t1 on the first, t2 on the second):");
        for (std::size_t k = 0; k < hits.size(); ++k) {
            const IntersectionPoint2f& ip = hits[k].ip;
            const std::string number = std::to_string(k + 1);
            svg.Label(ip.point, 6, -6, number, "#ff7f0e");
            svg.Text(legendX, y += 18,
                     number + "  " + hits[k].what +
                         Format(": (%.2f, %.2f)  t1 %.3f  t2 %.3f", ip.point.x, ip.point.y, ip.t1, ip.t2));
        }
    }
    std::fclose(f);
    std::printf("wrote %s: 3 curves, %zu intersections\n", argv[1], hits.size());
    return 0;
}
