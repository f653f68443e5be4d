#version 120
// Exposure coloration: pixels of the source below or above the thresholds take fixed colours,
// the others keep the picture's.
uniform sampler2D source;
uniform sampler2D colored;
uniform int sourceMono;
uniform float colorCoef;
uniform float colorHigh;
uniform vec3 clrLo;
uniform vec3 clrHi;
uniform vec2 thresholds;
// 1 when the source lies the same way up as the picture: records that say so are read as they
// lie, so that the marks fall on the pixels judged.
uniform int sourceUpright;

varying vec2 center;

void main() {
    // Otherwise the source lies upside down relative to the picture.
    vec3 rgb = texture2D(source, vec2(center.x, sourceUpright == 1 ? center.y : 1.0 - center.y)).rgb;
    float colorHi = (colorHigh < 0.0 || colorHigh > 1.0) ? 1.0 : colorHigh;
    if (colorCoef > 0.0 && colorCoef != 1.0)
        rgb *= colorCoef;
    float val = sourceMono == 1 ? rgb.r : rgb.r + rgb.g + rgb.b;
    if (val < thresholds[0])
        rgb = clrLo;
    else if (val > thresholds[1])
        rgb = clrHi;
    else
        rgb = texture2D(colored, center).rgb;
    gl_FragColor.rgb = clamp(rgb, 0.0, colorHi);
}
