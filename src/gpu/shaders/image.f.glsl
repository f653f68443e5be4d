// Display shader: scales a stored value to 0..1, clips, and spreads a mono red channel.
uniform sampler2D source;
uniform float colorCoef;
uniform float colorHigh;
uniform int colorMono;

varying vec2 center;

void main() {
    vec3 rgb = texture2D(source, center).rgb;
    float colorHi = (colorHigh < 0.0 || colorHigh > 1.0) ? 1.0 : colorHigh;
    if (colorCoef > 0.0 && colorCoef != 1.0)
        rgb *= colorCoef;
    rgb.r = clamp(rgb.r, 0.0, colorHi);
    if (colorMono == 1) {
        rgb.g = rgb.r;
        rgb.b = rgb.r;
    } else {
        rgb.g = clamp(rgb.g, 0.0, colorHi);
        rgb.b = clamp(rgb.b, 0.0, colorHi);
    }
    gl_FragColor.rgb = rgb;
}
